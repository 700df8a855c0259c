/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include <hidl/HidlPassthroughSupport.h>

#include <android/hidl/base/1.0/IBase.h>
#include <log/log.h>

#include <hidl/Static.h>

namespace android::hardware::details {

sp<hidl::base::V1_0::IBase> wrapPassthroughInternal(const sp<hidl::base::V1_0::IBase>& interface) {
    if (interface == nullptr || interface->isRemote())
        return interface;
    std::string descriptor;
    const Return<void> told =
            interface->interfaceDescriptor([&](const hidl_string& name) { descriptor = name; });
    if (!told.isOk())
        return nullptr;
    const auto construct = getBsConstructorMap().get(descriptor, nullptr);
    if (construct == nullptr) {
        ALOGE("No passthrough wrapper is known for %s", descriptor.c_str());
        return nullptr;
    }
    return construct(static_cast<void*>(interface.get()));
}

}  // namespace android::hardware::details
