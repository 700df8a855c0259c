/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace android::hardware::socket {

// What travels on a connection, a sequence of packets of a Unix socket:
//
//   MessageHeader | data | object offsets | buffers
//
// each part padded to 8 bytes. Data and offsets are a parcel's; the buffers follow in the order of
// their buffer objects. Pointers do not travel: the receiver puts its own where buffers and
// descriptors stand. What does not fit into one packet follows in more, without a header of their
// own. The first packet carries descriptors, too, as many as it may; the others come behind all
// bytes, in packets of one more byte each, of which all but the last are full.
//
// Calls and replies travel on channels, all else on connections. Objects are numbered for a
// process, not for a connection: whichever way a message goes, a number means the same.
enum class MessageKind : uint32_t {
    kCall = 1,         // target, code, flags, and a parcel.
    kReply = 2,        // status, and a parcel if it is 0; also a release, if target is not 0.
    kOpenChannel = 3,  // One descriptor: the receiver's end of a new channel.
    kRelease = 4,      // target; in code how many receptions of it are given up, and in flags how
                       // many messages mention it, which may yet arrive.
    kWelcome = 5,      // target: the object that is served where the receiver connected; what comes
                       // first on a connection. Counts as a reception.
};

// An object that a message mentions is one of the receiver's own: in its data, or as the target of
// a oneway call. (Who makes any other call holds its target until the reply.) Messages travel on
// several connections, so that a release can overtake them; the receiver keeps the object until
// both have come.
struct MessageHeader {
    uint32_t magic;
    MessageKind kind;
    uint64_t target;
    uint32_t code;
    uint32_t flags;
    int32_t status;
    uint32_t descriptors;
    uint32_t dataSize;
    uint32_t objectCount;
    uint64_t buffersSize;
};
static_assert(sizeof(MessageHeader) == 48, "the header is part of the wire");

constexpr uint32_t kMagic = 0x4f525632;  // "ORV2"
constexpr size_t kPacketSize = 16 * 1024;
constexpr size_t kMaxMessageSize = 1024 * 1024 - 8 * 1024;
constexpr size_t kPacketDescriptors = 253;  // As many as the kernel passes at once.
constexpr size_t kMaxDescriptors = 2048;

constexpr uint64_t pad8(uint64_t length) {
    return (length + 7) & ~uint64_t{7};
}

// Whether `length` bytes from `offset` lie within `size`; the one form in which ranges that a peer
// names are checked.
constexpr bool inRange(uint64_t offset, uint64_t length, uint64_t size) {
    return offset <= size && length <= size - offset;
}

// An object as it stands in a parcel's data, at any alignment.
template <typename T>
T objectAt(const uint8_t* data, uint64_t offset) {
    T object;
    std::memcpy(&object, data + offset, sizeof object);
    return object;
}

}  // namespace android::hardware::socket
