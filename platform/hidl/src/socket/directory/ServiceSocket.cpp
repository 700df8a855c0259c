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

#include "../peer/Peers.h"

namespace android::hardware::socket {

namespace {

constexpr int kBacklog = 128;
constexpr int kPauseMs = 10;

base::unique_fd openReserve() {
    return base::unique_fd(::open("/dev/null", O_RDONLY | O_CLOEXEC));
}

}  // namespace

ServiceSocket::ServiceSocket(std::shared_ptr<ServiceFolder> folder, std::string file,
                             sp<BHwBinder> binder)
        : mFolder(std::move(folder)),
          mFile(std::move(file)),
          mBinder(std::move(binder)),
          mReserve(openReserve()) {}

status_t ServiceSocket::open() {
    if (listen(mSocket, kBacklog) != 0) {
        return -errno;
    }
    return watch(mSocket) ? NO_ERROR : static_cast<status_t>(NO_MEMORY);
}

void ServiceSocket::close() {
    mFolder->remove(mFile, mInode);
    unwatch();
}

void ServiceSocket::ready() {
    // One at a time, so that no crowd of clients keeps the thread from the others' calls.
    base::unique_fd connection(accept4(mSocket, nullptr, nullptr, SOCK_CLOEXEC));
    const bool nobodyThere =
            connection < 0 && (errno == EAGAIN || errno == EINTR || errno == ECONNABORTED);
    if (connection >= 0) {
        Peers::instance().serve(std::move(connection), mBinder);
    } else if (!nobodyThere) {
        refuseOne(strerror(errno));
    }
    watchAgain();
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

}  // namespace android::hardware::socket
