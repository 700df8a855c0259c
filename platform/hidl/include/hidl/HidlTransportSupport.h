/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sched.h>

#include <hidl/HidlBinderSupport.h>
#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <hwbinder/IPCThreadState.h>

// The name that generated code has for it.
#ifndef SCHED_NORMAL
#define SCHED_NORMAL SCHED_OTHER
#endif

namespace android::hardware {

/**
 * Bounds how many calls this process serves at once. Must come before joinRpcThreadpool.
 * @param maxThreads at least 1; counts the calling thread where it is to join.
 */
void configureRpcThreadpool(size_t maxThreads, bool callerWillJoin);

/** Serves calls on the calling thread; does not return in normal operation. */
void joinRpcThreadpool();

/**
 * Has this process serve its calls on the one thread that polls for them, in place of a pool: for
 * programs with an event loop, and for clients that wait for nothing but callbacks. Must come
 * before any service is registered or got. Who never polls looks to its peers as if it hung.
 * @return a descriptor, the runtime's own, that is readable while a call waits to be served;
 *         negative when it is too late.
 */
int setupTransportPolling();

/**
 * Serves one call on the calling thread; waits for it when none is there.
 * @param fd what setupTransportPolling returned.
 * @return OK; DEAD_OBJECT once the runtime is stopped.
 */
status_t handleTransportPoll(int fd);

/** Whether both are the same object, or proxies for the same one. Two nulls are equal. */
bool interfacesEqual(const sp<hidl::base::V1_0::IBase>& left,
                     const sp<hidl::base::V1_0::IBase>& right);

namespace details {

/**
 * The parent as an IChild, if the object itself says that it is one; null otherwise. Where a remote
 * object cannot be asked, that is a failed Return with emitError and null without.
 */
template <typename IChild, typename IParent, typename BpChild>
Return<sp<IChild>> castInterface(sp<IParent> parent, const char* castTo, bool emitError) {
    if (parent == nullptr)
        return sp<IChild>();
    const Return<bool> castable = canCastInterface(parent.get(), castTo, emitError);
    if (!castable.isOk())
        return StatusOf<bool, sp<IChild>>(castable);
    if (!castable)
        return sp<IChild>();
    if (parent->isRemote())
        return sp<IChild>(new BpChild(toBinder(parent)));
    return sp<IChild>(static_cast<IChild*>(parent.get()));
}

}  // namespace details

}  // namespace android::hardware
