/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <hwbinder/IBinder.h>
#include <orva_platform/Runtime.h>

namespace android::hardware {

// What carries calls between processes, as all else knows it: the pool of threads that serve them,
// and the services by their names. The objects of other processes are RemoteObjects, and the way
// back to a caller that waits is in its ServingScope. Every operation may be called from any
// thread.
class Transport {
public:
    virtual ~Transport() = default;

    // See ProcessState and IPCThreadState.
    virtual void configurePool(size_t maxThreads, bool callerJoins) = 0;
    virtual size_t maxThreads() = 0;
    virtual void startPool() = 0;
    virtual void joinPool() = 0;
    virtual int setupPolling() = 0;
    virtual bool pollOnce() = 0;
    // Has a thread of the pool do something that nobody waits for.
    virtual void post(std::function<void()> task) = 0;

    // Serves `binder` as an instance of each of the interfaces (its chain, without IBase). OK;
    // ALREADY_EXISTS when a living process serves one of them, and then none is served; BAD_VALUE
    // for a name that cannot be served; otherwise what the system said. Every failure is logged
    // with its reason.
    virtual status_t addService(const std::vector<std::string>& interfaces,
                                const std::string& instance, const sp<IBinder>& binder) = 0;
    // The object served under a name: the local binder when this process serves it, else a proxy.
    // Null at once, with a logged reason, when nobody serves it.
    virtual sp<IBinder> getService(const std::string& interface, const std::string& instance) = 0;
    virtual std::vector<orva_platform::ServiceEntry> listServices() = 0;
};

// The process's transport, from the one function that is a transport's own.
Transport& transport();

}  // namespace android::hardware
