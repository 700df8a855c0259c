/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include <android-base/unique_fd.h>

namespace orva::attack {

// Two ends for calls, of which the host is to serve the one.
struct Channel {
    Channel();

    // A call of which the rest never comes.
    void sendHalf(uint64_t target) const;

    android::base::unique_fd ours;
    android::base::unique_fd theirs;
};

// With one of the host's services, below the interfaces.
class Connection {
public:
    // Throws Unavailable where there is no host.
    Connection();

    // What calls are for.
    uint64_t target() const { return target_; }
    // Has the host serve the channel.
    void give(const Channel& channel) const;

private:
    android::base::unique_fd end_;
    uint64_t target_ = 0;
};

}  // namespace orva::attack
