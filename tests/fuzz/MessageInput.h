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
struct MessageInput {
    uint8_t object = 0;
    std::vector<uint8_t> kinds;
    std::vector<uint8_t> bytes;

    static MessageInput decode(const uint8_t* data, size_t size);
    // Empty when it does not fit.
    std::vector<uint8_t> encode(size_t capacity) const;

    // The message, with descriptors of those kinds: memory files of several sizes, pipes, folders,
    // sockets.
    orva_test::WireMessage message() const;
};

// Which object of a fuzz target a message is for.
enum Object : uint8_t { kAIService, kModelManager, kAIListener, kModelManagerListener, kObjects };

// Valid calls to each method of these objects.
const std::vector<MessageInput>& seeds();

// Another input made of one: a valid call in its place, a field of the format changed, a piece
// moved, or any bytes; most are brought back to a consistent header, so that they get past it.
size_t mutate(uint8_t* data, size_t size, size_t capacity, unsigned seed);

}  // namespace orva_fuzz
