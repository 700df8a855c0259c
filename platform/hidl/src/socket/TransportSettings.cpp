/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "TransportSettings.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <unistd.h>

namespace android::hardware::socket {

// Never destroyed: threads of the pool may outlive the program's static objects.
TransportSettings& transportSettings() {
    static TransportSettings* const settings = new TransportSettings;
    return *settings;
}

TimeLimit TransportSettings::replyLimit() {
    Mutex::Autolock lock(mLock);
    return mReplyLimit;
}

void TransportSettings::setReplyLimit(TimeLimit limit) {
    Mutex::Autolock lock(mLock);
    mReplyLimit = limit;
}

orva_platform::PeerLimits TransportSettings::peerLimits(size_t poolThreads) {
    Mutex::Autolock lock(mLock);
    orva_platform::PeerLimits limits = mPeerLimits;
    if (limits.calls == 0) {
        // Of a pool of two or more some thread is always the others'.
        limits.calls = std::max<size_t>(1, std::min(poolThreads * 3 / 4, poolThreads - 1));
    }
    return limits;
}

void TransportSettings::setPeerLimits(const orva_platform::PeerLimits& limits) {
    Mutex::Autolock lock(mLock);
    mPeerLimits = limits;
}

std::string TransportSettings::directory() {
    Mutex::Autolock lock(mLock);
    if (!mDirectory.empty()) {
        return mDirectory;
    }
    if (const char* given = getenv("ORVA_SERVICE_DIR"); given != nullptr && *given != '\0') {
        return given;
    }
    if (const char* run = getenv("XDG_RUNTIME_DIR"); run != nullptr && *run != '\0') {
        return std::string(run) + "/orva";
    }
    return "/tmp/orva-" + std::to_string(geteuid());
}

void TransportSettings::setDirectory(const std::string& path) {
    Mutex::Autolock lock(mLock);
    mDirectory = path;
}

std::function<void(pid_t)> TransportSettings::onPeerGone() {
    Mutex::Autolock lock(mLock);
    return mOnPeerGone;
}

void TransportSettings::setOnPeerGone(std::function<void(pid_t)> act) {
    Mutex::Autolock lock(mLock);
    mOnPeerGone = std::move(act);
}

}  // namespace android::hardware::socket
