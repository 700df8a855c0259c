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

// What carries calls between processes, as all else knows it: the pool of threads that serve them,
// and the services by their names. Each transport defines these, and one is linked. The objects of
// other processes are RemoteObjects, and the way back to a caller that waits is in its
// ServingScope. Every operation may be called from any thread.
namespace android::hardware::transport {

// See ProcessState and IPCThreadState.
void configurePool(size_t maxThreads, bool callerJoins);
void startPool();
void joinPool();
// See HidlTransportSupport.h; false once the pool is stopped.
int setupPolling();
bool pollOnce();
// Has a thread of the pool do something that nobody waits for.
void post(std::function<void()> task);

// Serves `binder` as an instance of each of the interfaces (its chain, without IBase). OK;
// ALREADY_EXISTS when a living process serves one of them, and then none is served; BAD_VALUE for a
// name that cannot be served; otherwise what the system said. Every failure is logged with its
// reason.
status_t addService(const std::vector<std::string>& interfaces, const std::string& instance,
                    const sp<IBinder>& binder);
// The object served under a name: the local binder when this process serves it, else a proxy. Null
// at once, with a logged reason, when nobody serves it.
sp<IBinder> getService(const std::string& interface, const std::string& instance);

}  // namespace android::hardware::transport
