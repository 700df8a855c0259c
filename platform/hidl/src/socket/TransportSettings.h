/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <string>

#include <sys/types.h>
#include <utils/Mutex.h>

#include "Packet.h"

namespace android {
namespace hardware {
namespace socket {

// What the program has decided; see orva_platform/Runtime.h.
class TransportSettings {
public:
    TimeLimit replyLimit();
    void setReplyLimit(TimeLimit limit);
    // Where services are; see setServiceDirectory.
    std::string directory();
    void setDirectory(const std::string& path);
    // What is done when a peer has gone; may be empty.
    std::function<void(pid_t)> onPeerGone();
    void setOnPeerGone(std::function<void(pid_t)> act);

private:
    Mutex mLock;
    TimeLimit mReplyLimit GUARDED_BY(mLock){0};
    std::string mDirectory GUARDED_BY(mLock);
    std::function<void(pid_t)> mOnPeerGone GUARDED_BY(mLock);
};

TransportSettings& transportSettings();

}  // namespace socket
}  // namespace hardware
}  // namespace android
