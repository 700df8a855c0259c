/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <functional>
#include <ostream>
#include <vector>

#include <android-base/unique_fd.h>
#include <hwbinder/Binder.h>

#include "socket/Packet.h"
#include "socket/Wire.h"

namespace orva_test {

// One message as it stands on the wire, to be looked at or damaged.
struct WireMessage {
    std::vector<uint8_t> bytes;  // Of all its packets.
    std::vector<android::base::unique_fd> descriptors;

    android::hardware::socket::MessageHeader& header();
    uint8_t* data();
    uint64_t* offsets();
    // The object of that number.
    template <typename T>
    T& object(size_t index) {
        return *reinterpret_cast<T*>(data() + offsets()[index]);
    }
    // The bytes of the buffer object of that number.
    uint8_t* buffer(size_t index);
};

// An object of a process that has gone.
android::sp<android::hardware::IBinder> deadBinder();

// What a call through a proxy for `binder` puts on the wire; the call itself fails.
WireMessage record(const std::function<void(const android::sp<android::hardware::IBinder>&)>& call);
// The same for a proxy of this class.
template <typename Proxy, typename Call>
WireMessage recordOf(Call call) {
    return record([&](const android::sp<android::hardware::IBinder>& binder) {
        const android::sp<Proxy> proxy = new Proxy(binder);
        call(*proxy).isOk();
    });
}

// Sends all packets of a message; for messages that fit into a socket.
void send(int socket, const WireMessage& message);

struct SocketPair {
    SocketPair();
    android::base::unique_fd ours;
    android::base::unique_fd theirs;
};

// How a message fares in a process that receives it and serves it with `stub`.
struct Fate {
    android::hardware::socket::Io io;
    android::status_t status = 0;
    std::vector<uint8_t> reply;  // Its data.

    bool operator==(const Fate& other) const {
        return io == other.io && status == other.status && reply == other.reply;
    }
};
std::ostream& operator<<(std::ostream& out, const Fate& fate);

Fate deliver(const WireMessage& message, android::hardware::BHwBinder& stub);

}  // namespace orva_test
