/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva_platform/Runtime.h>

#include <utility>

#include "Link.h"
#include "Reactor.h"
#include "RuntimeCounts.h"
#include "ServiceDirectory.h"
#include "TransportSettings.h"

namespace orva_platform {

using android::hardware::ServiceDirectory;
using android::hardware::socket::Link;
using android::hardware::socket::Reactor;
using android::hardware::socket::runtimeCounts;
using android::hardware::socket::transportSettings;

namespace {

// How long calls under way have for their answers when the runtime stops.
constexpr std::chrono::milliseconds kStopPatience{2000};

}  // namespace

void setServiceDirectory(const std::string& path) {
    transportSettings().setDirectory(path);
}

std::string serviceDirectory() {
    return transportSettings().directory();
}

void setReplyLimit(std::chrono::milliseconds limit) {
    transportSettings().setReplyLimit(limit);
}

void onPeerGone(std::function<void(pid_t)> act) {
    transportSettings().setOnPeerGone(std::move(act));
}

std::vector<ServiceEntry> listServices() {
    return ServiceDirectory::instance().list();
}

void stop() {
    ServiceDirectory::instance().clear();
    if (!Reactor::instance().quiesce(kStopPatience)) {
        Link::closeAll();  // A call that waits for a peer of its own ends with that.
    }
    Reactor::instance().stop();
    Link::closeAll();
}

void requestStop() {
    Reactor::instance().requestStop();
}

Counts counts() {
    const auto& held = runtimeCounts();
    return {held.links, held.channels, Reactor::instance().threadCount(), held.exports,
            held.proxies};
}

}  // namespace orva_platform
