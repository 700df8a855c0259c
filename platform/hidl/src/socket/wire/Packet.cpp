/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "Packet.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <log/log.h>

#include "Wire.h"

namespace android::hardware::socket {

namespace {

Io waitFor(int socket, short events, const Deadline& deadline) {
    for (;;) {
        pollfd entry = {socket, events, 0};
        const int ready = poll(&entry, 1, deadline.left());
        if (ready > 0) {
            return Io::kDone;
        }
        if (ready == 0) {
            return Io::kTimeout;
        }
        if (errno != EINTR) {
            return Io::kBroken;
        }
    }
}

}  // namespace

int Deadline::left() const {
    using Clock = std::chrono::steady_clock;
    if (mLimit.count() == 0) {
        return -1;
    }
    const Clock::time_point now = Clock::now();
    if (mEnd == Clock::time_point()) {
        mEnd = now + mLimit;
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(mEnd - now);
    return static_cast<int>(std::clamp<int64_t>(left.count(), 0, INT_MAX));
}

void Deadline::restart(TimeLimit limit) {
    mLimit = limit;
    mEnd = std::chrono::steady_clock::now() + limit;
}

Io waitReadable(int socket, const Deadline& deadline) {
    return waitFor(socket, POLLIN, deadline);
}

Io sendPacket(int socket, const void* bytes, size_t size, const int* descriptors,
              size_t descriptorCount, const Deadline& deadline) {
    iovec part = {const_cast<void*>(bytes), size};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    alignas(cmsghdr) char control[CMSG_SPACE(kPacketDescriptors * sizeof(int))];
    if (descriptorCount > 0) {
        message.msg_control = control;
        message.msg_controllen = CMSG_SPACE(descriptorCount * sizeof(int));
        cmsghdr* head = CMSG_FIRSTHDR(&message);
        head->cmsg_level = SOL_SOCKET;
        head->cmsg_type = SCM_RIGHTS;
        head->cmsg_len = CMSG_LEN(descriptorCount * sizeof(int));
        std::memcpy(CMSG_DATA(head), descriptors, descriptorCount * sizeof(int));
    }
    for (;;) {
        // Never blocks in the call itself: a peer that shares the socket could undo its time-out.
        if (sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT) >= 0) {
            return Io::kDone;
        }
        switch (errno) {
        case EINTR:
            break;
        case EAGAIN: {
            const Io room = waitFor(socket, POLLOUT, deadline);
            if (room != Io::kDone) {
                return room;
            }
            break;
        }
        case EPIPE:
        case ECONNRESET:
        case ENOTCONN:
            return Io::kClosed;
        default:
            ALOGE("cannot send %zu bytes and %zu descriptors: %s", size, descriptorCount,
                  strerror(errno));
            return Io::kBroken;
        }
    }
}

Io receivePacket(int socket, void* bytes, size_t capacity, size_t* size,
                 std::vector<base::unique_fd>* descriptors, Wait wait) {
    iovec part = {bytes, capacity};
    alignas(cmsghdr) char control[CMSG_SPACE(kPacketDescriptors * sizeof(int))];
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    const int flags = MSG_CMSG_CLOEXEC | (wait == Wait::kNo ? MSG_DONTWAIT : 0);
    ssize_t received;
    do {
        received = recvmsg(socket, &message, flags);
    } while (received < 0 && errno == EINTR);
    if (received < 0) {
        switch (errno) {
        case EAGAIN:
            return wait == Wait::kForPeer ? Io::kTimeout : Io::kEmpty;
        case ECONNRESET:
        case ENOTCONN:
        case EINVAL:
            return Io::kClosed;
        default:
            ALOGE("cannot receive: %s", strerror(errno));
            return Io::kBroken;
        }
    }
    for (cmsghdr* head = CMSG_FIRSTHDR(&message); head != nullptr;
         head = CMSG_NXTHDR(&message, head)) {
        if (head->cmsg_level != SOL_SOCKET || head->cmsg_type != SCM_RIGHTS) {
            continue;
        }
        const size_t count = (head->cmsg_len - CMSG_LEN(0)) / sizeof(int);
        descriptors->reserve(descriptors->size() + count);
        for (size_t i = 0; i < count; ++i) {
            int descriptor;
            std::memcpy(&descriptor, CMSG_DATA(head) + i * sizeof descriptor, sizeof descriptor);
            descriptors->emplace_back(descriptor);
        }
    }
    if (received == 0) {
        return Io::kClosed;
    }
    if ((message.msg_flags & MSG_TRUNC) != 0) {
        ALOGE("a packet of more than %zu bytes came", capacity);
        return Io::kBroken;
    }
    if ((message.msg_flags & MSG_CTRUNC) != 0) {
        ALOGE("descriptors were lost: more came than this process may have open");
    }
    *size = static_cast<size_t>(received);
    return (message.msg_flags & MSG_CTRUNC) != 0 ? Io::kLost : Io::kDone;
}

}  // namespace android::hardware::socket
