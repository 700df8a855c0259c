/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "floor/FloorSocket.h"

#include <sys/socket.h>

#include <cstring>

namespace orva_bench {

namespace {

constexpr size_t kMostDescriptors = 64;

union ControlBuffer {
    cmsghdr alignment;
    char bytes[CMSG_SPACE(kMostDescriptors * sizeof(int))];
};

}  // namespace

sockaddr_un floorAddress(const std::string& path) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

bool sendPacket(int socket, const FloorPacket& packet, const int* descriptors, size_t count) {
    if (count > kMostDescriptors) {
        return false;
    }
    iovec part = {const_cast<FloorPacket*>(&packet), sizeof packet};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    ControlBuffer control;
    if (count > 0) {
        message.msg_control = control.bytes;
        message.msg_controllen = CMSG_SPACE(count * sizeof(int));
        cmsghdr* const head = CMSG_FIRSTHDR(&message);
        head->cmsg_level = SOL_SOCKET;
        head->cmsg_type = SCM_RIGHTS;
        head->cmsg_len = CMSG_LEN(count * sizeof(int));
        std::memcpy(CMSG_DATA(head), descriptors, count * sizeof(int));
    }
    return sendmsg(socket, &message, MSG_NOSIGNAL) == sizeof packet;
}

bool receivePacket(int socket, FloorPacket* packet, orva::hidl::UniqueFd* descriptors,
                   size_t count) {
    if (count > kMostDescriptors) {
        return false;
    }
    iovec part = {packet, sizeof *packet};
    msghdr message = {};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    ControlBuffer control;
    if (count > 0) {
        message.msg_control = control.bytes;
        message.msg_controllen = CMSG_SPACE(count * sizeof(int));
    }
    if (recvmsg(socket, &message, MSG_CMSG_CLOEXEC) != sizeof *packet) {
        return false;
    }
    const cmsghdr* const head = CMSG_FIRSTHDR(&message);
    if (count == 0) {
        return head == nullptr;
    }
    if (head == nullptr || head->cmsg_len != CMSG_LEN(count * sizeof(int))) {
        return false;
    }
    for (size_t i = 0; i < count; ++i) {
        int descriptor;
        std::memcpy(&descriptor, CMSG_DATA(head) + i * sizeof descriptor, sizeof descriptor);
        descriptors[i] = orva::hidl::UniqueFd(descriptor);
    }
    return true;
}

}  // namespace orva_bench
