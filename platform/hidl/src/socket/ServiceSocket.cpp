/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "ServiceSocket.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <log/log.h>

namespace android {
namespace hardware {
namespace socket {

namespace {

constexpr int kBacklog = 128;
constexpr int kPauseMs = 10;

base::unique_fd openReserve() {
    return base::unique_fd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

}  // namespace

bool peerOf(int socket, Link::Peer* peer) {
    ucred credentials = {};
    socklen_t size = sizeof credentials;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0) {
        return false;
    }
    *peer = {credentials.pid, credentials.uid};
    return true;
}

ServiceSocket::ServiceSocket(base::unique_fd socket, sp<BHwBinder> binder)
        : mSocket(std::move(socket)), mBinder(std::move(binder)), mReserve(openReserve()) {}

status_t ServiceSocket::open() {
    if (listen(mSocket, kBacklog) != 0) {
        return -errno;
    }
    mToken = Reactor::instance().add(shared_from_this());
    if (!Reactor::instance().arm(mToken, mSocket, Notice::kOnce)) {
        Reactor::instance().remove(mToken, mSocket);
        return NO_MEMORY;
    }
    return NO_ERROR;
}

void ServiceSocket::close() {
    Reactor::instance().remove(mToken, mSocket);
}

bool ServiceSocket::ready() {
    // One at a time, so that no crowd of clients keeps the thread from the others' calls.
    base::unique_fd connection(accept4(mSocket, nullptr, nullptr, SOCK_CLOEXEC));
    const bool nobodyThere =
            connection < 0 && (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED);
    if (connection >= 0) {
        acceptOne(std::move(connection));
    } else if (!nobodyThere) {
        refuseOne(strerror(errno));
    }
    Reactor::instance().rearm(mToken, mSocket, Notice::kOnce);
    return !nobodyThere;
}

void ServiceSocket::refuseOne(const char* reason) {
    mReserve.reset();
    if (base::unique_fd(accept4(mSocket, nullptr, nullptr, SOCK_CLOEXEC)) >= 0) {
        ALOGE("a client is refused: %s", reason);
    } else {
        // Another thread had a use for the reserve. The client is still there: without a pause the
        // pool would do nothing but find that out.
        poll(nullptr, 0, kPauseMs);
    }
    mReserve = openReserve();
}

void ServiceSocket::acceptOne(base::unique_fd connection) {
    Link::Peer peer;
    if (!peerOf(connection, &peer) || peer.uid != geteuid()) {
        // The folder's and the socket's modes keep others out already; this holds if they change.
        ALOGE("a client of another user is refused");
        return;
    }
    if (peer.pid == 0) {
        // Clients are told apart by their numbers.
        ALOGE("a client of another process namespace, which has no number here, is refused");
        return;
    }
    Link::accept(std::move(connection), peer, mBinder);
}

}  // namespace socket
}  // namespace hardware
}  // namespace android
