/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include "common/ClientDeathRecipient.h"

namespace orva::hidl {

class ModelManagerServiceHIDL;

using ModelManagerServiceDeathRecipient = ClientDeathRecipient<ModelManagerServiceHIDL>;

}  // namespace orva::hidl
