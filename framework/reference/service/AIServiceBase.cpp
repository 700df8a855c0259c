/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AIServiceBase.h>

#include "service/IdleTimer.h"

namespace orva {

AIServiceBase::AIServiceBase() : idleTimer_(std::make_shared<IdleTimer>()) {}
AIServiceBase::~AIServiceBase() = default;

void AIServiceBase::CreateIdleTimer() {
    idleTimer_->Start();
}

}  // namespace orva
