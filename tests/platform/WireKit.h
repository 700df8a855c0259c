/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>
#include <hwbinder/Binder.h>

#include "socket/Packet.h"
#include "socket/Wire.h"

namespace orva_test {

// One message as it stands on the wire, to be looked at or damaged; of one packet.
struct WireMessage {
    std::vector<uint8_t> bytes;
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

struct SocketPair {
    SocketPair();
    android::base::unique_fd ours;
    android::base::unique_fd theirs;
};

// How a message fares in a process that receives it and serves it with `stub`: "broken" if it costs
// the connection, "status -22" or the like if it is refused, else "answer" and the answer's words.
std::string deliver(WireMessage message, android::hardware::BHwBinder& stub);

}  // namespace orva_test
