/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <vector>

#include <orva/AIModelDescription.h>

#include "common/Interfaces.h"

namespace orva::hidl {

// Reads model descriptions, and the bytes of those that come with a region, in order. The regions
// are mapped only meanwhile. False at the first region that cannot be mapped.
bool ReadModels(const android::hardware::hidl_vec<ModelBuffer>& buffers,
                std::vector<AIModelDescription>& models);

}  // namespace orva::hidl
