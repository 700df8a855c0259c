/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <hwbinder/IBinder.h>

// What carries calls between processes, as all else knows it: the objects of other processes, what
// they send, the pool of threads that serve them, and the services by their names. Each transport
// defines these, and one is linked. The way back to a caller that waits is in its ServingScope.
// Every function may be called from any thread.
namespace android::hardware {

// One object of another process, as its transport reaches it. Destroying it gives up this process's
// hold on the object.
class RemoteObject {
public:
    virtual ~RemoteObject() = default;

    // Sends one call and, unless it is oneway, waits for its reply.
    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) = 0;
};

// Received data that a parcel stands on: checked, with every buffer pointer and descriptor in its
// place. Destroying it closes the descriptors and frees the buffers.
struct IncomingData {
    virtual ~IncomingData() = default;

    // The binder that the object of that number stands for.
    virtual sp<IBinder> binder(size_t index) const = 0;

    const uint8_t* data = nullptr;
    size_t dataSize = 0;
    const uint64_t* objects = nullptr;  // Where they stand in the data, ascending.
    size_t objectsCount = 0;
};

namespace transport {

// See HidlTransportSupport.h and ProcessState; pollOnce is false once the pool is stopped.
void configurePool(size_t maxThreads, bool callerJoins);
void startPool();
void joinPool();
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

}  // namespace transport

}  // namespace android::hardware
