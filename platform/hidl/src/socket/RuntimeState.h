/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <string>
#include <utility>

#include <orva_platform/Runtime.h>
#include <sys/types.h>
#include <utils/Mutex.h>

#include "wire/Packet.h"

namespace android::hardware::socket {

// What any thread may read and set.
template <typename T>
class Setting {
public:
    T get() {
        Mutex::Autolock lock(mLock);
        return mValue;
    }
    void set(T value) {
        Mutex::Autolock lock(mLock);
        std::swap(mValue, value);
    }

private:
    Mutex mLock;
    T mValue GUARDED_BY(mLock){};
};

// What the program has decided, and what the transport holds, which is counted where it is made and
// given up; see orva_platform/Runtime.h.
struct RuntimeState {
    Setting<TimeLimit> replyLimit;
    Setting<orva_platform::PeerLimits> peerLimits;
    Setting<std::string> directory;
    Setting<std::function<void(pid_t)>> onPeerGone;

    std::atomic<size_t> peers{0};
    std::atomic<size_t> channels{0};
    std::atomic<size_t> exports{0};
    std::atomic<size_t> proxies{0};
};

// Never destroyed: threads of the pool and what is counted may outlive the program's static
// objects.
inline RuntimeState& runtimeState() {
    static RuntimeState* const state = new RuntimeState;
    return *state;
}

}  // namespace android::hardware::socket
