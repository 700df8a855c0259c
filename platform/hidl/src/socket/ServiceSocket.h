/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <memory>
#include <string>

#include <android-base/unique_fd.h>
#include <hwbinder/Binder.h>

#include "Link.h"
#include "Reactor.h"

namespace android {
namespace hardware {
namespace socket {

// Who is at the other end of a connected socket, as the kernel knows it. False when it does not.
bool peerOf(int socket, Link::Peer* peer);

// A registered instance: a listening socket, each connection to which becomes a link.
class ServiceSocket : public ReactorItem, public std::enable_shared_from_this<ServiceSocket> {
public:
    // Serves `binder` on a socket that is bound already.
    ServiceSocket(base::unique_fd socket, sp<BHwBinder> binder);

    // Listens from here on. NO_ERROR, or what the system said.
    status_t open();
    void close();
    bool ready() override;

private:
    void acceptOne(base::unique_fd connection);
    void refuseOne(const char* reason);

    const base::unique_fd mSocket;
    const sp<BHwBinder> mBinder;
    std::atomic<uint64_t> mToken{0};
    // Given up for a moment when no descriptor is left, so that a connection can be refused
    // instead of lying in wait for ever. Used by the one thread in ready().
    base::unique_fd mReserve;
};

}  // namespace socket
}  // namespace hardware
}  // namespace android
