/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "OutgoingMessage.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

#include <cutils/native_handle.h>
#include <linux/android/binder.h>
#include <log/log.h>

#include "ThreadSpare.h"

namespace android::hardware::socket {

struct OutgoingMessage::Scratch {
    std::vector<uint8_t> bytes;
    std::vector<int> descriptors;
    std::vector<uint64_t> positions;  // Where each buffer object's bytes went; 0 for others.
    // What is counted for the peer until it has the message: objects that it receives, and ones of
    // its own.
    std::vector<uint64_t> exported;
    std::vector<IBinder*> mentioned;
};

OutgoingMessage::OutgoingMessage(MessageKind kind, ObjectNumbers& numbers)
        : header(), mNumbers(numbers), mScratch(ThreadSpare<Scratch>::take()) {
    header.magic = kMagic;
    header.kind = kind;
    mScratch->bytes.assign(sizeof header, 0);
    mScratch->descriptors.clear();
    mScratch->exported.clear();
    mScratch->mentioned.clear();
}

OutgoingMessage::~OutgoingMessage() {
    for (uint64_t number : mScratch->exported) {
        mNumbers.takeBack(number);
    }
    for (IBinder* binder : mScratch->mentioned) {
        mNumbers.takeBackMention(binder);
    }
    if (mScratch->bytes.capacity() > kPacketSize) {
        std::vector<uint8_t>().swap(mScratch->bytes);  // A large message is rare; its memory goes.
    }
    ThreadSpare<Scratch>::give(std::move(mScratch));
}

void OutgoingMessage::tell(const Release& release) {
    header.target = release.number;
    header.code = release.receptions;
    header.flags = release.mentions;
}

void OutgoingMessage::lend(int descriptor) {
    mScratch->descriptors.push_back(descriptor);
    header.descriptors = static_cast<uint32_t>(mScratch->descriptors.size());
}

status_t OutgoingMessage::measure(const Parcel& parcel, uint64_t* total) {
    *total = sizeof header + pad8(parcel.dataSize()) + parcel.objectsCount() * sizeof(uint64_t) +
             parcel.buffersSize();
    if (*total > kMaxMessageSize) {
        ALOGE("cannot send a message of %llu bytes, %zu at the most",
              static_cast<unsigned long long>(*total), kMaxMessageSize);
        return FAILED_TRANSACTION;
    }
    header.dataSize = static_cast<uint32_t>(parcel.dataSize());
    header.objectCount = static_cast<uint32_t>(parcel.objectsCount());
    header.buffersSize = parcel.buffersSize();
    return NO_ERROR;
}

// Collects the descriptors of the array at `object` and blanks them in their buffer.
status_t OutgoingMessage::lendArray(const uint8_t* object, size_t index) {
    const auto array = objectAt<binder_fd_array_object>(object, 0);
    if (array.parent >= index || mScratch->positions[array.parent] == 0) {
        return BAD_VALUE;
    }
    const size_t before = mScratch->descriptors.size();
    if (array.num_fds > kMaxDescriptors - before) {
        ALOGE("cannot send more than %zu descriptors at once", kMaxDescriptors);
        return FAILED_TRANSACTION;
    }
    if (array.num_fds > 0) {
        uint8_t* const at =
                mScratch->bytes.data() + mScratch->positions[array.parent] + array.parent_offset;
        const size_t size = array.num_fds * sizeof(int);
        mScratch->descriptors.resize(before + array.num_fds);
        std::memcpy(mScratch->descriptors.data() + before, at, size);
        std::memset(at, 0, size);
    }
    return NO_ERROR;
}

// Replaces the binder at `place` by its number.
status_t OutgoingMessage::translateBinder(uint8_t* place) {
    auto object = objectAt<flat_binder_object>(place, 0);
    const sp<IBinder> binder = reinterpret_cast<IBinder*>(object.cookie);
    uint64_t number;
    if (object.hdr.type == BINDER_TYPE_BINDER) {
        number = mNumbers.numberOfLocal(binder);
        mScratch->exported.push_back(number);
    } else if (mNumbers.numberOfRemote(binder, &number)) {
        mScratch->mentioned.push_back(binder.get());
    } else {
        ALOGE("cannot pass on an object of a third process");
        return FAILED_TRANSACTION;
    }
    object.binder = number;
    object.cookie = 0;
    std::memcpy(place, &object, sizeof object);
    return NO_ERROR;
}

status_t OutgoingMessage::pack(const Parcel& parcel) {
    uint64_t total;
    const status_t status = measure(parcel, &total);
    if (status != NO_ERROR) {
        return status;
    }
    const size_t count = parcel.objectsCount();
    mScratch->bytes.resize(total);  // New bytes, and so all padding, are zero.
    mScratch->positions.assign(count, 0);
    uint8_t* const bytes = mScratch->bytes.data();
    uint64_t* const positions = mScratch->positions.data();
    uint8_t* const data = bytes + sizeof header;
    uint8_t* const offsets = data + pad8(parcel.dataSize());
    std::memcpy(data, parcel.data(), parcel.dataSize());
    if (count > 0) {
        std::memcpy(offsets, parcel.objects(), count * sizeof(uint64_t));
    }
    uint64_t next = sizeof header + pad8(parcel.dataSize()) + count * sizeof(uint64_t);
    // Buffers are copied behind what is there, and every address is blanked.
    for (size_t i = 0; i < count; ++i) {
        uint8_t* const place = data + objectAt<uint64_t>(offsets, i * sizeof(uint64_t));
        status_t placed = BAD_VALUE;
        switch (objectAt<binder_object_header>(place, 0).type) {
        case BINDER_TYPE_PTR: {
            const auto buffer = objectAt<binder_buffer_object>(place, 0);
            std::memcpy(bytes + next, reinterpret_cast<const void*>(buffer.buffer), buffer.length);
            positions[i] = next;
            next += pad8(buffer.length);
            if ((buffer.flags & BINDER_BUFFER_FLAG_HAS_PARENT) != 0) {
                if (buffer.parent >= i || positions[buffer.parent] == 0) {
                    return BAD_VALUE;
                }
                std::memset(bytes + positions[buffer.parent] + buffer.parent_offset, 0,
                            sizeof(void*));
            }
            std::memset(place + offsetof(binder_buffer_object, buffer), 0, sizeof buffer.buffer);
            placed = NO_ERROR;
            break;
        }
        case BINDER_TYPE_FDA:
            placed = lendArray(place, i);
            break;
        case BINDER_TYPE_BINDER:
        case BINDER_TYPE_HANDLE:
            placed = translateBinder(place);
            break;
        }
        if (placed != NO_ERROR) {
            return placed;
        }
    }
    header.descriptors = static_cast<uint32_t>(mScratch->descriptors.size());
    return NO_ERROR;
}

Io OutgoingMessage::send(int socket, const Deadline& deadline) {
    std::vector<uint8_t>& bytes = mScratch->bytes;
    std::memcpy(bytes.data(), &header, sizeof header);
    const std::vector<int>& descriptors = mScratch->descriptors;
    size_t sent = 0;
    for (size_t lent = 0; sent < bytes.size() || lent < descriptors.size();) {
        const bool lending = sent == 0 || sent >= bytes.size();
        const size_t lend = lending ? std::min(kPacketDescriptors, descriptors.size() - lent) : 0;
        const size_t part = sent < bytes.size() ? std::min(kPacketSize, bytes.size() - sent) : 1;
        const uint8_t* const at = sent < bytes.size() ? bytes.data() + sent : bytes.data();
        const Io io = sendPacket(socket, at, part, descriptors.data() + lent, lend, deadline);
        if (io != Io::kDone) {
            // A message that ends in its middle leaves nothing to go on with.
            return sent > 0 && io == Io::kBroken ? Io::kTimeout : io;
        }
        sent += part;
        lent += lend;
    }
    mScratch->exported.clear();
    mScratch->mentioned.clear();
    return Io::kDone;
}

}  // namespace android::hardware::socket
