/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/Static.h>

namespace android::hardware::details {

BnConstructorMap& getBnConstructorMap() {
    static auto* const map = new BnConstructorMap();
    return *map;
}

BsConstructorMap& getBsConstructorMap() {
    static auto* const map = new BsConstructorMap();
    return *map;
}

ConcurrentMap<const hidl::base::V1_0::IBase*, wp<BHwBinder>>* const gBnMap =
        new ConcurrentMap<const hidl::base::V1_0::IBase*, wp<BHwBinder>>();
ConcurrentMap<wp<hidl::base::V1_0::IBase>, SchedPrio>* const gServicePrioMap =
        new ConcurrentMap<wp<hidl::base::V1_0::IBase>, SchedPrio>();
ConcurrentMap<wp<hidl::base::V1_0::IBase>, bool>* const gServiceSidMap =
        new ConcurrentMap<wp<hidl::base::V1_0::IBase>, bool>();

}  // namespace android::hardware::details
