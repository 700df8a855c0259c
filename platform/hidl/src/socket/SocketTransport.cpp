/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "../hwbinder/Transport.h"

#include <utility>

#include "directory/ServiceDirectory.h"
#include "pool/Pool.h"

namespace android::hardware::transport {

using socket::Pool;

void configurePool(size_t maxThreads, bool callerJoins) {
    Pool::instance().configure(maxThreads, callerJoins);
}

void startPool() {
    Pool::instance().start();
}

void joinPool() {
    Pool::instance().join();
}

int setupPolling() {
    return Pool::instance().configurePolling();
}

bool pollOnce() {
    return Pool::instance().serveOne();
}

void post(std::function<void()> task) {
    Pool::instance().post(std::move(task));
}

status_t addService(const std::vector<std::string>& interfaces, const std::string& instance,
                    const sp<IBinder>& binder) {
    return ServiceDirectory::instance().add(interfaces, instance, binder);
}

sp<IBinder> getService(const std::string& interface, const std::string& instance) {
    return ServiceDirectory::instance().get(interface, instance);
}

}  // namespace android::hardware::transport
