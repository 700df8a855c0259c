/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

namespace orva::hidl {

// The tag of everything that concerns shared-memory tensors and their serializers.
constexpr char kBufferTag[] = "AINeuralNetworkBufferHIDL";
// The tag of ION tensors, but for what they have in common with shared-memory tensors.
constexpr char kIonBufferTag[] = "AINeuralNetworkIonBufferHIDL";
// The tag of bounded copies that fail.
constexpr char kCopyTag[] = "ORVA";

}  // namespace orva::hidl
