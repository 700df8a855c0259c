/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

namespace orva::hidl {

// Registers the shared-memory tensor, and itself under the ION tensor's name as well, unless that
// has been done. The library's load does it in any case; a call is for whoever must come after it.
// What is constructed after the call is also destroyed before these are unregistered.
void RegisterBufferTensors();

}  // namespace orva::hidl
