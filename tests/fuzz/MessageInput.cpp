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
using namespace android::hardware::socket;

namespace {

unique_fd memory(off_t size) {
    unique_fd file(memfd_create("fuzz", MFD_CLOEXEC));
    (void)!ftruncate(file.get(), size);
    return file;
}

unique_fd describe(uint8_t kind) {
    switch (kind % 8) {
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
    case 6:
        return unique_fd(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    default:
        return unique_fd(open("/dev/zero", O_RDWR | O_CLOEXEC));
    }
}

}  // namespace

MessageInput MessageInput::decode(const uint8_t* data, size_t size) {
    MessageInput input;
    if (size < 2) {
        return input;
    }
    input.object = data[0] % 128;
    const size_t count = std::min<size_t>(data[1], size - 2);
    input.kinds.assign(data + 2, data + 2 + count);
    input.bytes.assign(data + 2 + count, data + size);
    if (data[0] < 128 && input.bytes.size() >= sizeof(MessageHeader)) {
        input.bytes.resize(pad8(input.bytes.size()));
        auto& header = *reinterpret_cast<MessageHeader*>(input.bytes.data());
        const uint64_t room = input.bytes.size() - sizeof header;
        header.magic = kMagic;
        header.kind = MessageKind::kCall;
        header.descriptors = static_cast<uint32_t>(count);
        header.dataSize = static_cast<uint32_t>(std::min<uint64_t>(header.dataSize & ~3U, room));
        const uint64_t rest = room - pad8(header.dataSize);
        header.objectCount =
                static_cast<uint32_t>(std::min<uint64_t>(header.objectCount, rest / 8));
        header.buffersSize = rest - uint64_t{header.objectCount} * 8;
    }
    return input;
}

std::vector<uint8_t> MessageInput::encode() const {
    std::vector<uint8_t> data = {object, static_cast<uint8_t>(kinds.size())};
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

// A refusal is logged with its reason, which nobody reads here.
extern "C" int __android_log_print(int, const char*, const char*, ...) {
    return 0;
}

extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t capacity);

// The fuzzer's own mutations, but now and then of a valid call.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t capacity,
                                          unsigned number) {
    static const std::vector<orva_fuzz::MessageInput> seeds = orva_fuzz::makeSeeds();
    if (size < 3 || number % 8 == 0) {
        const std::vector<uint8_t> seed = seeds[number / 8 % seeds.size()].encode();
        size = std::min(seed.size(), capacity);
        std::copy_n(seed.begin(), size, data);
    }
    return LLVMFuzzerMutate(data, size, capacity);
}
