/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include <hidl/HidlTransportSupport.h>

#include <cstring>

#include <log/log.h>

#include "hwbinder/Transport.h"

namespace android::hardware {

using hidl::base::V1_0::IBase;

void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin) {
    if (maxThreads == 0)
        details::logAlwaysFatal("configureRpcThreadpool: no pool has no threads");
    transport::configurePool(maxThreads, callerWillJoin);
}

void joinRpcThreadpool() {
    transport::joinPool();
}

int setupTransportPolling() {
    const int fd = transport::setupPolling();
    return fd >= 0 ? fd : static_cast<int>(INVALID_OPERATION);
}

status_t handleTransportPoll(int) {
    return transport::pollOnce() ? OK : DEAD_OBJECT;
}

bool interfacesEqual(const sp<IBase>& left, const sp<IBase>& right) {
    if (left == right)
        return true;
    if (left == nullptr || right == nullptr || !left->isRemote() || !right->isRemote()) {
        return false;
    }
    return toBinder(left) == toBinder(right);
}

namespace details {

Return<bool> canCastInterface(IBase* interface, const char* castTo, bool emitError) {
    if (interface == nullptr)
        return false;
    if (strcmp(castTo, IBase::descriptor) == 0)
        return true;
    bool found = false;
    const Return<void> told = interface->interfaceChain([&](const hidl_vec<hidl_string>& chain) {
        for (const hidl_string& name : chain)
            found |= name == castTo;
    });
    if (!told.isOk()) {
        ALOGE("Cannot ask an object whether it is a %s: %s", castTo, told.description().c_str());
        if (emitError)
            return StatusOf<void, bool>(told);
        return false;
    }
    return found;
}

}  // namespace details

}  // namespace android::hardware
