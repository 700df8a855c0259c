/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>

#include "Payload.h"
#include "common/NativeHandle.h"

namespace orva_bench {

// A region of so many bytes whose pages exist, as after a client has written its data. False when
// none could be made.
bool makeRegion(size_t size, TensorMemory memory, orva::hidl::NativeHandle* handle);

}  // namespace orva_bench
