/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

namespace orva::hidl {

// The names under which tensors are registered, and by which clients ask for them.
constexpr char kBufferType[] = "AINeuralNetworkBuffer";
constexpr char kIonBufferType[] = "AINeuralNetworkIonBuffer";

// The tag in the log of everything that concerns shared-memory tensors and their serializers, of
// ION tensors, but for what they have in common with those, and of bounded copies that fail.
constexpr char kBufferTag[] = "AINeuralNetworkBufferHIDL";
constexpr char kIonBufferTag[] = "AINeuralNetworkIonBufferHIDL";
constexpr char kCopyTag[] = "ORVA";

}  // namespace orva::hidl
