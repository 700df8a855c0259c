/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <hidl/HidlTransportSupport.h>

namespace android::hidl::manager::V1_0 {
struct IServiceManager;
struct IServiceNotification;
}  // namespace android::hidl::manager::V1_0

namespace android::hardware {

/** Null: there is no daemon who knows who serves what, nor tells of what comes. */
sp<hidl::manager::V1_0::IServiceManager> defaultServiceManager();

namespace details {

/**
 * The object registered under an interface and an instance name, or null with a logged reason.
 * With getStub it is made in this process, by the interface's HIDL_FETCH_ function.
 * @param retry has no effect: nothing declares instances that are yet to come.
 */
sp<hidl::base::V1_0::IBase> getRawServiceInternal(const std::string& descriptor,
                                                  const std::string& instance, bool retry,
                                                  bool getStub);

/** OK; UNEXPECTED_NULL; UNKNOWN_ERROR, with a logged reason, where the name cannot be had. */
status_t registerAsServiceInternal(const sp<hidl::base::V1_0::IBase>& service,
                                   const std::string& name);

template <typename BpType, typename IType = typename BpType::Pure>
sp<IType> getServiceInternal(const std::string& instance, bool retry, bool getStub) {
    const sp<hidl::base::V1_0::IBase> base =
            getRawServiceInternal(IType::descriptor, instance, retry, getStub);
    if (base == nullptr)
        return nullptr;
    return IType::castFrom(base).withDefault(nullptr);
}

}  // namespace details

}  // namespace android::hardware
