/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <string>

#include <orva_platform/Runtime.h>
#include <sys/types.h>
#include <utils/Mutex.h>

#include "wire/Packet.h"

namespace android::hardware::socket {

// What the program has decided; see orva_platform/Runtime.h.
class TransportSettings {
public:
    TimeLimit replyLimit();
    void setReplyLimit(TimeLimit limit);
    // The limits of a peer where the pool has so many threads.
    orva_platform::PeerLimits peerLimits(size_t poolThreads);
    void setPeerLimits(const orva_platform::PeerLimits& limits);
    // Where services are; see setServiceDirectory.
    std::string directory();
    void setDirectory(const std::string& path);
    // What is done when a peer has gone; may be empty.
    std::function<void(pid_t)> onPeerGone();
    void setOnPeerGone(std::function<void(pid_t)> act);

private:
    Mutex mLock;
    TimeLimit mReplyLimit GUARDED_BY(mLock){0};
    orva_platform::PeerLimits mPeerLimits GUARDED_BY(mLock);
    std::string mDirectory GUARDED_BY(mLock);
    std::function<void(pid_t)> mOnPeerGone GUARDED_BY(mLock);
};

TransportSettings& transportSettings();

}  // namespace android::hardware::socket
