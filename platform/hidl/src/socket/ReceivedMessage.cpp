/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "ReceivedMessage.h"

#include <algorithm>
#include <cstring>

#include <linux/android/binder.h>
#include <log/log.h>

#include "ThreadSpare.h"

namespace android {
namespace hardware {
namespace socket {

namespace {

// How long the rest of a message may take that has begun.
constexpr TimeLimit kRestLimit{2000};

template <typename T>
T objectAt(const uint8_t* data, uint64_t offset) {
    T object;
    std::memcpy(&object, data + offset, sizeof object);
    return object;
}

size_t objectSize(uint32_t type) {
    switch (type) {
    case BINDER_TYPE_PTR:
        return sizeof(binder_buffer_object);
    case BINDER_TYPE_FDA:
        return sizeof(binder_fd_array_object);
    case BINDER_TYPE_BINDER:
    case BINDER_TYPE_HANDLE:
        return sizeof(flat_binder_object);
    default:
        return 0;
    }
}

}  // namespace

ReceivedMessage::ReceivedMessage() : mBlock(ThreadSpare<Block>::take()), mBytes(mBlock->bytes) {}

ReceivedMessage::~ReceivedMessage() {
    if (mBlock != nullptr) {
        ThreadSpare<Block>::give(std::move(mBlock));
    }
}

const uint8_t* ReceivedMessage::data() const {
    return mBytes + sizeof mHeader;
}

const uint64_t* ReceivedMessage::objects() const {
    // The block is aligned for any type and every part is padded to 8.
    return reinterpret_cast<const uint64_t*>(data() + pad8(mHeader.dataSize));
}

Io ReceivedMessage::receive(int socket, Wait wait, std::unique_ptr<ReceivedMessage>* message) {
    std::unique_ptr<ReceivedMessage> incoming(new ReceivedMessage);
    size_t received;
    const Io io = receivePacket(socket, incoming->mBytes, kPacketSize, &received,
                                &incoming->mDescriptors, wait);
    if (io != Io::kDone) {
        return io;
    }
    const char* fault = incoming->checkHeader(received);
    if (fault == nullptr && incoming->mTotal > received) {
        const Io rest = incoming->receiveRest(socket, received);
        if (rest != Io::kDone) {
            return rest;
        }
    }
    if (fault == nullptr) {
        fault = incoming->fixObjects();
    }
    if (fault != nullptr) {
        ALOGE("malformed message: %s", fault);
        return Io::kBroken;
    }
    *message = std::move(incoming);
    return Io::kDone;
}

Io ReceivedMessage::check(const uint8_t* bytes, size_t size,
                          std::vector<base::unique_fd> descriptors,
                          std::unique_ptr<ReceivedMessage>* message) {
    std::unique_ptr<ReceivedMessage> incoming(new ReceivedMessage);
    std::memcpy(incoming->mBytes, bytes, size);
    incoming->mDescriptors = std::move(descriptors);
    if (incoming->checkHeader(size) != nullptr || incoming->mTotal > size ||
        incoming->fixObjects() != nullptr) {
        return Io::kBroken;
    }
    *message = std::move(incoming);
    return Io::kDone;
}

Io ReceivedMessage::receiveRest(int socket, size_t received) {
    mWhole.reset(new uint8_t[mTotal]);
    mBytes = mWhole.get();
    std::memcpy(mBytes, mBlock->bytes, received);
    ThreadSpare<Block>::give(std::move(mBlock));
    const auto deadline = std::chrono::steady_clock::now() + kRestLimit;
    while (received < mTotal) {
        const auto left = std::chrono::ceil<TimeLimit>(deadline - std::chrono::steady_clock::now());
        const Io ready = left.count() <= 0 ? Io::kTimeout : waitReadable(socket, left);
        if (ready != Io::kDone) {
            ALOGE("a message's rest did not follow: %zu of %zu bytes came", received, mTotal);
            return ready;
        }
        std::vector<base::unique_fd> stray;
        size_t part;
        const Io io =
                receivePacket(socket, mBytes + received, std::min(kPacketSize, mTotal - received),
                              &part, &stray, Wait::kNo);
        if (io == Io::kEmpty) {
            continue;
        }
        if (io != Io::kDone) {
            return io;
        }
        if (!stray.empty()) {
            ALOGE("malformed message: descriptors behind its first packet");
            return Io::kBroken;
        }
        received += part;
    }
    return Io::kDone;
}

const char* ReceivedMessage::checkHeader(size_t received) {
    if (received < sizeof mHeader) {
        return "shorter than its header";
    }
    std::memcpy(&mHeader, mBytes, sizeof mHeader);
    if (mHeader.magic != kMagic) {
        return "not of this protocol";
    }
    if (mHeader.descriptors != mDescriptors.size()) {
        return "other descriptors than announced";
    }
    if (mHeader.dataSize % 4 != 0 || mHeader.dataSize > kMaxMessageSize) {
        return "bad data size";
    }
    if (mHeader.objectCount > mHeader.dataSize / sizeof(flat_binder_object)) {
        return "more objects than data";
    }
    if (mHeader.buffersSize % 8 != 0 || mHeader.buffersSize > kMaxMessageSize) {
        return "bad size of buffers";
    }
    // None of the parts is large enough for the sum to wrap.
    const uint64_t total = sizeof mHeader + pad8(mHeader.dataSize) +
                           uint64_t{mHeader.objectCount} * sizeof(uint64_t) + mHeader.buffersSize;
    if (total > kMaxMessageSize) {
        return "too large";
    }
    if (received != std::min<uint64_t>(total, kPacketSize)) {
        return "shorter or longer than announced";
    }
    mTotal = total;
    switch (mHeader.kind) {
    case MessageKind::kCall:
    case MessageKind::kReply:
        return nullptr;
    case MessageKind::kOpenChannel:
        return mHeader.descriptors == 1 && total == sizeof mHeader ? nullptr : "bad new channel";
    case MessageKind::kRelease:
        return mHeader.descriptors == 0 && total == sizeof mHeader ? nullptr : "bad release";
    }
    return "unknown kind";
}

const char* ReceivedMessage::fixObjects() {
    if (mHeader.kind == MessageKind::kOpenChannel) {
        return nullptr;
    }
    mBuffers.resize(mHeader.objectCount);
    uint64_t nextBuffer = sizeof mHeader + pad8(mHeader.dataSize) +
                          uint64_t{mHeader.objectCount} * sizeof(uint64_t);
    size_t nextDescriptor = 0;
    uint64_t end = 0;  // Of the object before.
    for (size_t i = 0; i < mHeader.objectCount; ++i) {
        const uint64_t offset = objects()[i];
        if (offset % 4 != 0 || offset < end ||
            !inRange(offset, sizeof(binder_object_header), mHeader.dataSize)) {
            return "object out of place";
        }
        const uint32_t type = objectAt<binder_object_header>(data(), offset).type;
        const size_t size = objectSize(type);
        if (size == 0 || !inRange(offset, size, mHeader.dataSize)) {
            return "bad object";
        }
        end = offset + size;
        const char* fault = nullptr;
        if (type == BINDER_TYPE_PTR) {
            fault = fixBuffer(i, &nextBuffer);
        } else if (type == BINDER_TYPE_FDA) {
            fault = fixDescriptors(i, &nextDescriptor);
        }
        if (fault != nullptr) {
            return fault;
        }
    }
    if (nextBuffer != mTotal) {
        return "buffers of another size than announced";
    }
    return nextDescriptor == mDescriptors.size() ? nullptr : "descriptors without a place";
}

const char* ReceivedMessage::fixBuffer(size_t index, uint64_t* next) {
    uint8_t* at = mBytes + sizeof mHeader + objects()[index];
    auto object = objectAt<binder_buffer_object>(at, 0);
    if (object.length > kMaxMessageSize || !inRange(*next, pad8(object.length), mTotal)) {
        return "buffer longer than the message";
    }
    uint8_t* start = mBytes + *next;
    *next += pad8(object.length);
    mBuffers[index].start = start;
    mBuffers[index].length = object.length;
    object.buffer = reinterpret_cast<binder_uintptr_t>(start);
    std::memcpy(at, &object, sizeof object);
    if ((object.flags & BINDER_BUFFER_FLAG_HAS_PARENT) == 0) {
        return nullptr;
    }
    uint8_t* pointer;
    const char* fault =
            claim(object.parent, index, object.parent_offset, sizeof object.buffer, &pointer);
    if (fault == nullptr) {
        std::memcpy(pointer, &object.buffer, sizeof object.buffer);
    }
    return fault;
}

const char* ReceivedMessage::fixDescriptors(size_t index, size_t* nextDescriptor) {
    const auto array = objectAt<binder_fd_array_object>(data(), objects()[index]);
    if (array.num_fds > mDescriptors.size() - *nextDescriptor) {
        return "more descriptors claimed than came";
    }
    uint8_t* at;
    const char* fault =
            claim(array.parent, index, array.parent_offset, array.num_fds * sizeof(int), &at);
    for (uint64_t i = 0; fault == nullptr && i < array.num_fds; ++i) {
        const int descriptor = mDescriptors[(*nextDescriptor)++].get();
        std::memcpy(at + i * sizeof descriptor, &descriptor, sizeof descriptor);
    }
    return fault;
}

// A range of an earlier buffer, behind all that was claimed in it before: what is fixed up once
// cannot be fixed up again with something else.
const char* ReceivedMessage::claim(uint64_t parent, size_t index, uint64_t offset, uint64_t length,
                                   uint8_t** at) {
    if (parent >= index || mBuffers[parent].start == nullptr) {
        return "bad parent";
    }
    Buffer& buffer = mBuffers[parent];
    if (offset < buffer.claimed || !inRange(offset, length, buffer.length)) {
        return "bad place in its parent";
    }
    buffer.claimed = offset + length;
    *at = buffer.start + offset;
    return nullptr;
}

bool ReceivedMessage::resolve(ObjectFinder& finder) {
    for (size_t i = 0; i < mHeader.objectCount; ++i) {
        const auto header = objectAt<binder_object_header>(data(), objects()[i]);
        if (header.type != BINDER_TYPE_BINDER && header.type != BINDER_TYPE_HANDLE) {
            continue;
        }
        const auto object = objectAt<flat_binder_object>(data(), objects()[i]);
        // What is the sender's own is remote here, and the other way round.
        sp<IBinder> binder = object.hdr.type == BINDER_TYPE_BINDER ? finder.remote(object.binder)
                                                                   : finder.local(object.binder);
        if (binder == nullptr) {
            return false;
        }
        mBinders.emplace_back(i, std::move(binder));
    }
    return true;
}

sp<IBinder> ReceivedMessage::binder(size_t index) const {
    for (const auto& entry : mBinders) {
        if (entry.first == index) {
            return entry.second;
        }
    }
    return nullptr;
}

base::unique_fd ReceivedMessage::takeDescriptor() {
    base::unique_fd descriptor = std::move(mDescriptors.front());
    mDescriptors.clear();
    return descriptor;
}

}  // namespace socket
}  // namespace hardware
}  // namespace android
