/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva_platform/Runtime.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <unistd.h>

#include "../hwbinder/Transport.h"
#include "RuntimeState.h"
#include "directory/ServiceDirectory.h"
#include "peer/Peers.h"
#include "pool/Pool.h"

namespace orva_platform {

using android::hardware::ServiceDirectory;
using android::hardware::socket::Peer;
using android::hardware::socket::Peers;
using android::hardware::socket::Pool;
using android::hardware::socket::runtimeState;

namespace {

// How long calls under way have for their answers when the runtime stops.
constexpr std::chrono::milliseconds kStopPatience{2000};

}  // namespace

void setServiceDirectory(const std::string& path) {
    runtimeState().directory.set(path);
}

std::string serviceDirectory() {
    if (std::string set = runtimeState().directory.get(); !set.empty()) {
        return set;
    }
    if (const char* given = getenv("ORVA_SERVICE_DIR"); given != nullptr && *given != '\0') {
        return given;
    }
    if (const char* run = getenv("XDG_RUNTIME_DIR"); run != nullptr && *run != '\0') {
        return std::string(run) + "/orva";
    }
    return "/tmp/orva-" + std::to_string(geteuid());
}

void setReplyLimit(std::chrono::milliseconds limit) {
    runtimeState().replyLimit.set(limit);
}

void setPeerLimits(const PeerLimits& limits) {
    runtimeState().peerLimits.set(limits);
}

void deferAnswer() {
    Peer::deferAnswer();
}

void awaitAnswer() {
    Peer::awaitAnswer();
}

void setStandIns(size_t most) {
    Pool::instance().setStandIns(most);
}

void onPeerGone(std::function<void(pid_t)> act) {
    runtimeState().onPeerGone.set(std::move(act));
}

std::vector<ServiceEntry> listServices() {
    return ServiceDirectory::instance().list();
}

bool stop(std::chrono::milliseconds patience) {
    ServiceDirectory::instance().clear();
    const bool quiet = Pool::instance().quiesce(std::min(patience, kStopPatience));
    Peers::instance().closeAll();  // A call that waits for a peer of its own ends with that.
    if (!quiet && !Pool::instance().quiesce(patience - std::min(patience, kStopPatience))) {
        return false;
    }
    Pool::instance().finish();
    Peers::instance().closeAll();
    return true;
}

void requestStop() {
    Pool::instance().requestStop();
}

Counts counts() {
    const auto& held = runtimeState();
    return {held.peers, held.channels, Pool::instance().threadCount(), held.exports, held.proxies};
}

}  // namespace orva_platform

namespace android::hardware::transport {

using socket::Pool;

void configurePool(size_t maxThreads, bool callerJoins) {
    Pool::instance().configure(maxThreads, callerJoins);
}

void startPool() {
    Pool::instance().start();
}

void joinPool() {
    Pool::instance().join();
}

int setupPolling() {
    return Pool::instance().configurePolling();
}

bool pollOnce() {
    return Pool::instance().serveOne();
}

void post(std::function<void()> task) {
    Pool::instance().post(std::move(task));
}

status_t addService(const std::vector<std::string>& interfaces, const std::string& instance,
                    const sp<IBinder>& binder) {
    return ServiceDirectory::instance().add(interfaces, instance, binder);
}

sp<IBinder> getService(const std::string& interface, const std::string& instance) {
    return ServiceDirectory::instance().get(interface, instance);
}

}  // namespace android::hardware::transport
