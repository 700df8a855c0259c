/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include <hidl/HidlSupport.h>

namespace android::hardware {

enum MQFlavor : uint32_t { kSynchronizedReadWrite = 0x01, kUnsynchronizedWrite = 0x02 };

/** A message queue's description. No interface here passes one: generated code asks its size. */
template <typename T, MQFlavor flavor>
struct MQDescriptor {
private:
    uint64_t mWords[4] = {};
};

}  // namespace android::hardware
