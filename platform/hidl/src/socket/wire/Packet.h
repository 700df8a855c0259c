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

namespace android::hardware::socket {

enum class Io {
    kDone,
    kEmpty,    // Nothing there, or not all, and not told to wait.
    kTimeout,  // The peer took longer than it may.
    kClosed,   // The peer has gone.
    kBroken,   // What came or was to go cannot be used; logged.
    kLost,     // A packet came without its descriptors: this process may open no more; logged.
};

// Who waits how long for a peer; zero is for ever.
using TimeLimit = std::chrono::milliseconds;

// The end of all the waiting for one thing, however often there is something to wait for. It begins
// to run when first asked, so that whoever need not wait does not look at the clock.
class Deadline {
public:
    template <typename Rep, typename Period>
    Deadline(std::chrono::duration<Rep, Period> limit) : mLimit(limit) {}

    // For poll(): milliseconds; 0 when it is over, -1 for ever.
    int left() const;
    bool over() const { return left() == 0; }
    void begin() const { left(); }
    // Begins anew, with another limit.
    void restart(TimeLimit limit);

private:
    TimeLimit mLimit;
    mutable std::chrono::steady_clock::time_point mEnd;
};

// Sends one packet with descriptors, waiting for room until the deadline.
Io sendPacket(int socket, const void* bytes, size_t size, const int* descriptors,
              size_t descriptorCount, const Deadline& deadline);

// Receives one packet and adopts its descriptors. `size` becomes its length. Who waits for the peer
// does so in the receiving call; the socket's own time-out bounds it.
enum class Wait { kNo, kForPeer };
Io receivePacket(int socket, void* bytes, size_t capacity, size_t* size,
                 std::vector<base::unique_fd>* descriptors, Wait wait);

// Waits until a packet is there, or the peer has gone.
Io waitReadable(int socket, const Deadline& deadline);

}  // namespace android::hardware::socket
