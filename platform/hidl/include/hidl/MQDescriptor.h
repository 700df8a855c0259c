/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include <hidl/HidlSupport.h>

namespace android::hardware {

enum MQFlavor : uint32_t { kSynchronizedReadWrite = 0x01, kUnsynchronizedWrite = 0x02 };

/**
 * A message queue's description. Generated code asserts its size; no interface here passes one, so
 * its layout is all there is.
 */
template <typename T, MQFlavor flavor>
struct MQDescriptor {
private:
    struct GrantorDescriptor {
        uint32_t flags;
        uint32_t fdIndex;
        uint32_t offset;
        uint64_t extent;
    };

    hidl_vec<GrantorDescriptor> mGrantors;
    details::hidl_pointer<native_handle_t> mHandle;
    uint32_t mQuantum = 0;
    uint32_t mFlags = 0;
};

}  // namespace android::hardware
