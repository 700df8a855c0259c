/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <hidl/HidlSupport.h>

namespace android::hardware::details {

/** A local object is called as it is: services are reached through a transport or not at all. */
template <typename IType>
sp<IType> wrapPassthrough(const sp<IType>& interface) {
    return interface;
}

}  // namespace android::hardware::details
