/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>

#include <android-base/unique_fd.h>
#include <hwbinder/Binder.h>

#include "../pool/Poller.h"

namespace android::hardware::socket {

// A registered instance: a listening socket, each connection to which makes its process a peer.
class ServiceSocket : public PollItem {
public:
    // Serves `binder` on a socket that is bound already.
    ServiceSocket(base::unique_fd socket, sp<BHwBinder> binder);

    // Listens from here on. NO_ERROR, or what the system said.
    status_t open();
    void close();
    void ready() override;

private:
    void refuseOne(const char* reason);

    const base::unique_fd mSocket;
    const sp<BHwBinder> mBinder;
    // Given up for a moment when no descriptor is left, so that a connection can be refused
    // instead of lying in wait for ever. Used by the one thread in ready().
    base::unique_fd mReserve;
};

}  // namespace android::hardware::socket
