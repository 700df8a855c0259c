/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <android-base/unique_fd.h>

namespace android {
namespace hardware {
namespace socket {

enum class Io {
    kDone,
    kEmpty,    // Nothing there, and not told to wait.
    kTimeout,  // The peer took longer than it may.
    kClosed,   // The peer has gone.
    kBroken,   // What came or was to go cannot be used; logged.
};

// Who waits how long for a peer; zero is for ever.
using TimeLimit = std::chrono::milliseconds;

// Sends one packet with descriptors, waiting at most `limit` for room.
Io sendPacket(int socket, const void* bytes, size_t size, const int* descriptors,
              size_t descriptorCount, TimeLimit limit);

// Receives one packet and adopts its descriptors. `size` becomes its length.
enum class Wait {
    kNo,
    kInKernel,  // Blocks in the receiving call; the socket's own time-out bounds it.
};
Io receivePacket(int socket, void* bytes, size_t capacity, size_t* size,
                 std::vector<base::unique_fd>* descriptors, Wait wait);

// Waits until a packet is there, or the peer has gone.
Io waitReadable(int socket, TimeLimit limit);

}  // namespace socket
}  // namespace hardware
}  // namespace android
