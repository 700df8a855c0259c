/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <vector>

#include <orva/AIModelDescription.h>

#include "common/Interfaces.h"

namespace orva::hidl {

// Reads a model's description, and its bytes when it comes with a region, which is mapped only
// meanwhile. What neither says stays as it was. False when the region cannot be mapped.
bool ReadModel(const ModelBuffer& buffer, AIModelDescription& description);

// Reads model descriptions, as ReadModel does, in order. False at the first region that cannot be
// mapped.
bool ReadModels(const android::hardware::hidl_vec<ModelBuffer>& buffers,
                std::vector<AIModelDescription>& models);

}  // namespace orva::hidl
