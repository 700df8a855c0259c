/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

namespace orva::hidl {

// The names under which tensors are registered, and by which clients ask for them.
constexpr char kBufferType[] = "AINeuralNetworkBuffer";
constexpr char kIonBufferType[] = "AINeuralNetworkIonBuffer";

}  // namespace orva::hidl
