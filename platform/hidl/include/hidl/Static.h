/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <string>

#include <utils/RefBase.h>

#include <hidl/ConcurrentMap.h>
#include <hidl/HidlSupport.h>
#include <hwbinder/Binder.h>

namespace android::hardware::details {

/** How the service's callers are to be scheduled. */
struct SchedPrio {
    int sched_policy;
    int prio;
};

using BnConstructorMap = ConcurrentMap<std::string, std::function<sp<IBinder>(void*)>>;
using BsConstructorMap =
        ConcurrentMap<std::string, std::function<sp<hidl::base::V1_0::IBase>(void*)>>;

/** By an interface's name, what makes the stub for an implementation of it. */
BnConstructorMap& getBnConstructorMap();
/** By an interface's name, what makes the passthrough wrapper for an implementation of it. */
BsConstructorMap& getBsConstructorMap();

// All of these outlive every static object, since objects may go while the process ends.

/** By its address, the stub that an implementation has been given. */
extern ConcurrentMap<const hidl::base::V1_0::IBase*, wp<BHwBinder>>* const gBnMap;
extern ConcurrentMap<wp<hidl::base::V1_0::IBase>, SchedPrio>* const gServicePrioMap;
extern ConcurrentMap<wp<hidl::base::V1_0::IBase>, bool>* const gServiceSidMap;

}  // namespace android::hardware::details
