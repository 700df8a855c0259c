/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hwbinder/ProcessState.h>

#include "Transport.h"

namespace android::hardware {

ProcessState* ProcessState::self() {
    static ProcessState state;
    return &state;
}

void ProcessState::startThreadPool() {
    transport::startPool();
}

}  // namespace android::hardware
