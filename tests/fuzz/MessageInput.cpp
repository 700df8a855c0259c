/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "MessageInput.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace orva_fuzz {

using android::base::unique_fd;
using android::hardware::socket::kMaxDescriptors;

namespace {

unique_fd memory(off_t size) {
    unique_fd file(memfd_create("fuzz", MFD_CLOEXEC));
    (void)!ftruncate(file.get(), size);
    return file;
}

unique_fd describe(uint8_t kind) {
    switch (kind % 10) {
    case 0:
        return memory(20);  // An attribute record.
    case 1:
        return memory(4096);
    case 2:
        return memory(0);
    case 3:
        return memory(4);
    case 4:
        return memory(1 << 20);
    case 5:
        return unique_fd(open("/proc/self", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    case 6: {
        int ends[2] = {-1, -1};
        (void)!pipe2(ends, O_CLOEXEC);
        close(ends[1]);
        return unique_fd(ends[0]);
    }
    case 7:
        return unique_fd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    case 8:
        return unique_fd(open("/dev/zero", O_RDWR | O_CLOEXEC));
    default:
        return unique_fd(open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
    }
}

}  // namespace

MessageInput MessageInput::decode(const uint8_t* data, size_t size) {
    MessageInput input;
    if (size < 2) {
        return input;
    }
    input.object = data[0] % kObjects;
    const size_t count = std::min<size_t>(data[1], size - 2);
    input.kinds.assign(data + 2, data + 2 + count);
    input.bytes.assign(data + 2 + count, data + size);
    return input;
}

std::vector<uint8_t> MessageInput::encode(size_t capacity) const {
    std::vector<uint8_t> data;
    if (kinds.size() > UINT8_MAX || 2 + kinds.size() + bytes.size() > capacity) {
        return data;
    }
    data.push_back(object);
    data.push_back(static_cast<uint8_t>(kinds.size()));
    data.insert(data.end(), kinds.begin(), kinds.end());
    data.insert(data.end(), bytes.begin(), bytes.end());
    return data;
}

orva_test::WireMessage MessageInput::message() const {
    orva_test::WireMessage message;
    message.bytes = bytes;
    for (size_t i = 0; i < std::min(kinds.size(), kMaxDescriptors); ++i) {
        message.descriptors.push_back(describe(kinds[i]));
    }
    return message;
}

}  // namespace orva_fuzz
