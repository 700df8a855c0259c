/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

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

// What the program has decided; see orva_platform/Runtime.h.
struct TransportSettings {
    Setting<TimeLimit> replyLimit;
    Setting<orva_platform::PeerLimits> peerLimits;
    Setting<std::string> directory;
    Setting<std::function<void(pid_t)>> onPeerGone;
};

// Never destroyed: threads of the pool may outlive the program's static objects.
inline TransportSettings& transportSettings() {
    static TransportSettings* const settings = new TransportSettings;
    return *settings;
}

}  // namespace android::hardware::socket
