/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include <android-base/unique_fd.h>
#include <sys/types.h>

namespace android::hardware::socket {

// A process as the kernel knows it. Its number may be another's later; with its start it is not.
struct Identity {
    pid_t pid = 0;
    uid_t uid = 0;
    uint64_t started = 0;  // In ticks since the machine's.

    bool operator==(const Identity& other) const {
        return pid == other.pid && uid == other.uid && started == other.started;
    }
};

// Who is at the other end of a connected socket; `process`, readable once that process has ended,
// stays empty where the kernel has no such descriptors. False when there is nobody any more.
bool identify(int socket, Identity* identity, base::unique_fd* process);

// Whether a descriptor is an end of a channel that this process has made.
bool isChannelOf(int descriptor, const Identity& maker);

}  // namespace android::hardware::socket
