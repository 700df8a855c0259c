/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "../hwbinder/Transport.h"

#include <utility>

#include "directory/ServiceDirectory.h"
#include "pool/Pool.h"

namespace android::hardware {

namespace {

class SocketTransport : public Transport {
public:
    void configurePool(size_t maxThreads, bool callerJoins) override {
        mPool.configure(maxThreads, callerJoins);
    }
    size_t maxThreads() override { return mPool.maxThreads(); }
    void startPool() override { mPool.start(); }
    void joinPool() override { mPool.join(); }
    int setupPolling() override { return mPool.configurePolling(); }
    bool pollOnce() override { return mPool.serveOne(); }
    void post(std::function<void()> task) override { mPool.post(std::move(task)); }

    status_t addService(const std::vector<std::string>& interfaces, const std::string& instance,
                        const sp<IBinder>& binder) override {
        return mDirectory.add(interfaces, instance, binder);
    }
    sp<IBinder> getService(const std::string& interface, const std::string& instance) override {
        return mDirectory.get(interface, instance);
    }
    std::vector<orva_platform::ServiceEntry> listServices() override { return mDirectory.list(); }

private:
    socket::Pool& mPool = socket::Pool::instance();
    ServiceDirectory& mDirectory = ServiceDirectory::instance();
};

}  // namespace

// Never destroyed: threads of the pool may outlive the program's static objects.
Transport& transport() {
    static Transport* const transport = new SocketTransport;
    return *transport;
}

}  // namespace android::hardware
