/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <hwbinder/BpHwBinder.h>
#include <orva_platform/Runtime.h>
#include <utils/Mutex.h>

#include "ServiceSocket.h"

namespace android::hardware {

// Who serves what, as sockets in a folder. Every operation may be called from any thread.
class ServiceDirectory {
public:
    static ServiceDirectory& instance();

    // See hwbinder/Transport.h.
    status_t add(const std::vector<std::string>& interfaces, const std::string& instance,
                 const sp<IBinder>& binder);
    sp<IBinder> get(const std::string& interface, const std::string& instance);

    std::vector<orva_platform::ServiceEntry> list();

    // Takes everything that this process serves out of the folder.
    void clear();

private:
    // What is known already to be served under a name; null when a connection must tell.
    sp<IBinder> known(const std::string& key) REQUIRES(mLock);

    Mutex mLock;
    // Both by path, folder and file.
    std::unordered_map<std::string, std::shared_ptr<socket::ServiceSocket>> mServed
            GUARDED_BY(mLock);
    std::unordered_map<std::string, wp<BpHwBinder>> mGot GUARDED_BY(mLock);
};

}  // namespace android::hardware
