/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>

// What a device has no way to ask of its libion; for tests and dumps, never for the product.
namespace orva_platform {

struct IonCounts {
    size_t clients;  // Open ION devices of this process.
    size_t handles;  // User handles that they hold.
};
IonCounts ionCounts();

}  // namespace orva_platform
