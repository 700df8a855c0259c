/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "TransportSettings.h"

#include <cstdlib>
#include <utility>

#include <unistd.h>

namespace android {
namespace hardware {
namespace socket {

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

}  // namespace socket
}  // namespace hardware
}  // namespace android
