/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <string>

#include <android-base/unique_fd.h>
#include <hwbinder/Binder.h>

#include "../pool/Poller.h"
#include "ServiceFolder.h"

namespace android::hardware::socket {

// A registered instance: a listening socket, each connection to which makes its process a peer.
class ServiceSocket : public PollItem {
public:
    ServiceSocket(std::shared_ptr<ServiceFolder> folder, std::string file, sp<BHwBinder> binder);

    // See ServiceFolder: the folder must be locked.
    status_t bind() { return mFolder->bind(mFile, &mSocket, &mInode); }
    // Listens from here on. NO_ERROR, or what the system said.
    status_t open();
    // Gives the file up first, so that who finds it is served.
    void close();
    void ready() override;

    const sp<BHwBinder>& binder() const { return mBinder; }

private:
    void refuseOne(const char* reason);

    const std::shared_ptr<ServiceFolder> mFolder;
    const std::string mFile;
    base::unique_fd mSocket;
    ino_t mInode = 0;
    const sp<BHwBinder> mBinder;
    // Given up for a moment when no descriptor is left, so that a connection can be refused
    // instead of lying in wait for ever. Used by the one thread in ready().
    base::unique_fd mReserve;
};

}  // namespace android::hardware::socket
