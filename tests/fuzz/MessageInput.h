/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/WireKit.h"

namespace orva_fuzz {

// A fuzzer's input: which object is called, what the descriptors are, and the message's bytes.
//
//   object | number of descriptors | a kind for each | bytes
//
// Inputs change without regard to the header, so that it is made to agree with the rest of the
// message, unless the object's highest bit is set: damage to the header counts, too.
struct MessageInput {
    uint8_t object = 0;
    std::vector<uint8_t> kinds;
    std::vector<uint8_t> bytes;

    static MessageInput decode(const uint8_t* data, size_t size);
    std::vector<uint8_t> encode() const;

    // The message, with descriptors of those kinds: memory files of several sizes, pipes, folders,
    // sockets.
    orva_test::WireMessage message() const;
};

// Valid calls for the fuzzer to begin with; each target's own.
std::vector<MessageInput> makeSeeds();

// What this call through a proxy puts on the wire.
template <typename Proxy, typename Call>
MessageInput seed(uint8_t object, Call call) {
    const orva_test::WireMessage message = orva_test::recordOf<Proxy>(call);
    MessageInput input = {object, {}, message.bytes};
    // A tensor's first descriptor is its attributes', the second its data's.
    for (size_t i = 0; i < message.descriptors.size(); ++i) {
        input.kinds.push_back(static_cast<uint8_t>(i % 2));
    }
    return input;
}

}  // namespace orva_fuzz
