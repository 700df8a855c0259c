/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>
#include <hwbinder/Binder.h>

#include "socket/wire/Packet.h"
#include "socket/wire/Wire.h"

namespace orva_test {

using android::hardware::socket::MessageHeader;
using android::hardware::socket::pad8;

// One message as it stands on the wire, to be looked at or damaged.
struct WireMessage {
    std::vector<uint8_t> bytes;
    std::vector<android::base::unique_fd> descriptors;
    // How many of them a packet carries that carries any.
    size_t each = android::hardware::socket::kPacketDescriptors;

    MessageHeader& header() { return *reinterpret_cast<MessageHeader*>(bytes.data()); }
    uint8_t* data() { return bytes.data() + sizeof(MessageHeader); }
    uint64_t* offsets() { return reinterpret_cast<uint64_t*>(data() + pad8(header().dataSize)); }
    // The object of that number.
    template <typename T>
    T& object(size_t index) {
        return *reinterpret_cast<T*>(data() + offsets()[index]);
    }
    // The bytes of the buffer object of that number.
    uint8_t* buffer(size_t index);
};

// A proxy's calls fail; what the last one puts on the wire is kept if there is a place for it.
android::sp<android::hardware::IBinder> deadProxy(WireMessage* message);

// What a call through a proxy of this class puts on the wire.
template <typename Proxy, typename Call>
WireMessage recordOf(Call call) {
    WireMessage message;
    const android::sp<Proxy> proxy = new Proxy(deadProxy(&message));
    call(*proxy).isOk();
    return message;
}

struct SocketPair {
    SocketPair();
    android::base::unique_fd ours;
    android::base::unique_fd theirs;
};

// How a message fares in a process that receives it and serves it with `stub`: "broken" if it costs
// the connection, "status -22" or the like if it is refused, else "answer" and the answer's words.
std::string deliver(WireMessage message, android::hardware::BHwBinder& stub);

}  // namespace orva_test
