/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

namespace orva::hidl {

// Statuses that the services answer with. Any other value comes from the framework unchanged.
constexpr int32_t kStatusSuccess = 0;
constexpr int32_t kStatusFailure = 1;
constexpr int32_t kStatusNoSession = 2;

// Results of the tensor transport.
constexpr uint32_t kTransportSuccess = 0;
constexpr uint32_t kTransportFailure = 1;

}  // namespace orva::hidl
