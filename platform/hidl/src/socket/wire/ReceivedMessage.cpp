/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "ReceivedMessage.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

#include <linux/android/binder.h>
#include <log/log.h>

#include "ThreadSpare.h"

namespace android::hardware::socket {

namespace {

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

struct Buffer {
    uint8_t* start;  // Null for objects that are no buffers.
    uint64_t length;
    uint64_t claimed;  // Up to where something in it has been fixed up.
};

// Puts the receiver's addresses and descriptors where a message's objects ask for them. The objects
// come in the order in which they stand; each answer is null, or what is wrong.
class ObjectFixer {
public:
    ObjectFixer(uint8_t* bytes, uint64_t total, uint64_t firstBuffer,
                const std::vector<base::unique_fd>& descriptors, Buffer* buffers)
            : mBytes(bytes),
              mTotal(total),
              mDescriptors(descriptors),
              mBuffers(buffers),
              mNextBuffer(firstBuffer) {}

    const char* fixBuffer(size_t index, uint8_t* at) {
        const auto object = objectAt<binder_buffer_object>(at, 0);
        if (object.length > kMaxMessageSize || !inRange(mNextBuffer, pad8(object.length), mTotal)) {
            return "buffer longer than the message";
        }
        uint8_t* const start = mBytes + mNextBuffer;
        mNextBuffer += pad8(object.length);
        mBuffers[index] = {start, object.length, 0};
        const auto address = reinterpret_cast<binder_uintptr_t>(start);
        std::memcpy(at + offsetof(binder_buffer_object, buffer), &address, sizeof address);
        if ((object.flags & BINDER_BUFFER_FLAG_HAS_PARENT) == 0) {
            return nullptr;
        }
        uint8_t* pointer;
        const char* const fault =
                claim(object.parent, index, object.parent_offset, sizeof address, &pointer);
        if (fault == nullptr) {
            std::memcpy(pointer, &address, sizeof address);
        }
        return fault;
    }

    const char* fixDescriptors(size_t index, const uint8_t* at) {
        mBuffers[index] = {};
        const auto array = objectAt<binder_fd_array_object>(at, 0);
        if (array.num_fds > mDescriptors.size() - mNextDescriptor) {
            return "more descriptors claimed than came";
        }
        uint8_t* place;
        const char* const fault = claim(array.parent, index, array.parent_offset,
                                        array.num_fds * sizeof(int), &place);
        for (uint64_t i = 0; fault == nullptr && i < array.num_fds; ++i) {
            const int descriptor = mDescriptors[mNextDescriptor++].get();
            std::memcpy(place + i * sizeof descriptor, &descriptor, sizeof descriptor);
        }
        return fault;
    }

    void skip(size_t index) { mBuffers[index] = {}; }

    const char* finish() const {
        if (mNextBuffer != mTotal) {
            return "buffers of another size than announced";
        }
        return mNextDescriptor == mDescriptors.size() ? nullptr : "descriptors without a place";
    }

private:
    // A range of an earlier buffer, behind all that was claimed in it before: what is fixed up once
    // cannot be fixed up again with something else.
    const char* claim(uint64_t parent, size_t index, uint64_t offset, uint64_t length,
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

    uint8_t* const mBytes;
    const uint64_t mTotal;
    const std::vector<base::unique_fd>& mDescriptors;
    Buffer* const mBuffers;
    uint64_t mNextBuffer;
    size_t mNextDescriptor = 0;
};

}  // namespace

struct ReceivedMessage::Storage {
    alignas(std::max_align_t) uint8_t packet[kPacketSize];
    std::vector<base::unique_fd> descriptors;
    std::vector<Buffer> buffers;
    std::vector<std::pair<size_t, sp<IBinder>>> binders;
};

ReceivedMessage::ReceivedMessage()
        : mStorage(ThreadSpare<Storage>::take()), mBytes(mStorage->packet) {}

ReceivedMessage::~ReceivedMessage() {
    mStorage->descriptors.clear();
    mStorage->binders.clear();
    if (mStorage->buffers.capacity() > kPacketSize / sizeof(Buffer)) {
        std::vector<Buffer>().swap(mStorage->buffers);  // A large message is rare; its memory goes.
    }
    ThreadSpare<Storage>::give(std::move(mStorage));
}

Io ReceivedMessage::receive(int socket, Wait wait, std::unique_ptr<ReceivedMessage>* message) {
    const char* fault = nullptr;
    if (*message == nullptr) {
        std::unique_ptr<ReceivedMessage> incoming(new ReceivedMessage);
        size_t received;
        const Io io = receivePacket(socket, incoming->mBytes, kPacketSize, &received,
                                    &incoming->mStorage->descriptors, wait);
        if (io != Io::kDone && io != Io::kLost) {
            return io;
        }
        incoming->mIncomplete = io == Io::kLost;
        fault = incoming->checkHeader(received);
        *message = std::move(incoming);
    }
    const Io rest = fault == nullptr ? (*message)->receiveRest(socket) : Io::kDone;
    if (rest != Io::kDone) {
        return rest;
    }
    if (fault == nullptr && !(*message)->mIncomplete) {
        fault = (*message)->fixObjects();
    }
    if (fault != nullptr) {
        ALOGE("malformed message: %s", fault);
        return Io::kBroken;
    }
    return Io::kDone;
}

Io ReceivedMessage::receiveRest(int socket) {
    if (mReceived < mTotal && mWhole == nullptr) {
        mWhole.reset(new (std::nothrow) uint8_t[mTotal]);
        if (mWhole == nullptr) {
            ALOGE("no memory for a message of %zu bytes", mTotal);
            return Io::kBroken;
        }
        mBytes = mWhole.get();
        std::memcpy(mBytes, mStorage->packet, mReceived);
    }
    std::vector<base::unique_fd>& descriptors = mStorage->descriptors;
    while (mReceived < mTotal || mDescriptorsDue > 0) {
        const bool bytesDue = mReceived < mTotal;
        const size_t due = bytesDue ? 0 : std::min(mDescriptorsDue, kPacketDescriptors);
        const size_t before = descriptors.size();
        uint8_t nothing;
        size_t part;
        const Io io = receivePacket(socket, bytesDue ? mBytes + mReceived : &nothing,
                                    bytesDue ? std::min(kPacketSize, mTotal - mReceived) : 1, &part,
                                    &descriptors, Wait::kNo);
        if (io != Io::kDone && io != Io::kLost) {
            return io;
        }
        mIncomplete = mIncomplete || (io == Io::kLost && due > 0);
        if (descriptors.size() - before != due && (io == Io::kDone || due == 0)) {
            ALOGE("malformed message: other descriptors than due behind its first packet");
            return Io::kBroken;
        }
        mReceived += bytesDue ? part : 0;
        mDescriptorsDue -= due;
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
    const size_t first = std::min<size_t>(mHeader.descriptors, kPacketDescriptors);
    if (mHeader.descriptors > kMaxDescriptors ||
        (!mIncomplete && first != mStorage->descriptors.size())) {
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
    mReceived = received;
    dataSize = mHeader.dataSize;
    objectsCount = mHeader.objectCount;
    mDescriptorsDue = mHeader.descriptors - first;
    switch (mHeader.kind) {
    case MessageKind::kCall:
    case MessageKind::kReply:
        return nullptr;
    case MessageKind::kOpenChannel:
        return mHeader.descriptors == 1 && total == sizeof mHeader ? nullptr : "bad new channel";
    case MessageKind::kRelease:
    case MessageKind::kWelcome:
        return mHeader.descriptors == 0 && total == sizeof mHeader ? nullptr : "bad notice";
    }
    return "unknown kind";
}

const char* ReceivedMessage::fixObjects() {
    if (mHeader.kind == MessageKind::kOpenChannel) {
        return nullptr;
    }
    const size_t count = objectsCount;
    if (mStorage->buffers.size() < count) {
        mStorage->buffers.resize(count);
    }
    uint8_t* const start = mBytes + sizeof mHeader;
    data = start;
    // The memory is aligned for any type, and every part is padded to 8.
    objects = reinterpret_cast<const uint64_t*>(start + pad8(dataSize));
    const uint64_t firstBuffer =
            sizeof mHeader + pad8(dataSize) + uint64_t{count} * sizeof(uint64_t);
    ObjectFixer fixer(mBytes, mTotal, firstBuffer, mStorage->descriptors, mStorage->buffers.data());
    uint64_t end = 0;  // Of the object before.
    for (size_t i = 0; i < count; ++i) {
        const uint64_t offset = objects[i];
        if (offset % 4 != 0 || offset < end ||
            !inRange(offset, sizeof(binder_object_header), dataSize)) {
            return "object out of place";
        }
        const uint32_t type = objectAt<binder_object_header>(start, offset).type;
        const size_t size = objectSize(type);
        if (size == 0 || !inRange(offset, size, dataSize)) {
            return "bad object";
        }
        end = offset + size;
        const char* fault = nullptr;
        if (type == BINDER_TYPE_PTR) {
            fault = fixer.fixBuffer(i, start + offset);
        } else if (type == BINDER_TYPE_FDA) {
            fault = fixer.fixDescriptors(i, start + offset);
        } else {
            fixer.skip(i);
            mNamesObjects = true;
        }
        if (fault != nullptr) {
            return fault;
        }
    }
    return fixer.finish();
}

status_t ReceivedMessage::resolve(ObjectFinder& finder) {
    for (size_t i = 0; mNamesObjects && i < objectsCount; ++i) {
        const auto header = objectAt<binder_object_header>(data, objects[i]);
        if (header.type != BINDER_TYPE_BINDER && header.type != BINDER_TYPE_HANDLE) {
            continue;
        }
        // What is the sender's own is remote here, and the other way round.
        const auto object = objectAt<flat_binder_object>(data, objects[i]);
        const bool remote = object.hdr.type == BINDER_TYPE_BINDER;
        sp<IBinder> binder = remote ? finder.remote(object.binder) : finder.local(object.binder);
        if (binder == nullptr) {
            return remote ? FAILED_TRANSACTION : static_cast<status_t>(BAD_VALUE);
        }
        mBringsObjects = mBringsObjects || remote;
        mStorage->binders.emplace_back(i, std::move(binder));
    }
    return NO_ERROR;
}

sp<IBinder> ReceivedMessage::binder(size_t index) const {
    for (const auto& entry : mStorage->binders) {
        if (entry.first == index) {
            return entry.second;
        }
    }
    return nullptr;
}

size_t ReceivedMessage::descriptorCount() const {
    return mStorage->descriptors.size();
}

void ReceivedMessage::dropDescriptors() {
    mStorage->descriptors.clear();
    mIncomplete = true;
}

base::unique_fd ReceivedMessage::takeDescriptor() {
    base::unique_fd descriptor = std::move(mStorage->descriptors.front());
    mStorage->descriptors.clear();
    return descriptor;
}

}  // namespace android::hardware::socket
