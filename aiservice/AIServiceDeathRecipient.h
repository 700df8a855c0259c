/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include "common/ClientDeathRecipient.h"

namespace orva::hidl {

class AIServiceHIDL;

using AIServiceDeathRecipient = ClientDeathRecipient<AIServiceHIDL>;

}  // namespace orva::hidl
