/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "Peers.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include <unistd.h>

#include <log/log.h>

namespace android::hardware::socket {

// Never destroyed: threads of the pool may outlive the program's static objects.
Peers& Peers::instance() {
    static Peers* const peers = new Peers;
    return *peers;
}

std::shared_ptr<Peer> Peers::find(int connection, bool forServing, std::shared_ptr<Peer>* before) {
    Identity identity;
    base::unique_fd process;
    const bool there = identify(connection, &identity, &process);
    if (identity.uid != geteuid()) {
        // The folder's and the socket's modes keep others out already; this holds if they change.
        ALOGE("a process of another user is refused");
        return nullptr;
    }
    if (identity.pid == 0) {
        // Peers are told apart by their numbers.
        ALOGE("a process of another namespace, which has no number here, is refused");
        return nullptr;
    }
    if (!there) {
        return nullptr;  // It has gone already.
    }
    Mutex::Autolock lock(mLock);
    std::shared_ptr<Peer>& entry = mPeers[identity.pid];
    if (entry != nullptr) {
        const bool same = entry->identity() == identity && entry->alive();
        if (same && (forServing || entry->connected())) {
            return entry;
        }
        *before = entry;
        if (forServing) {
            return nullptr;
        }
    }
    entry = std::make_shared<Peer>(identity);
    entry->watch(std::move(process));
    return entry;
}

void Peers::ended(const Peer& peer) {
    std::shared_ptr<Peer> forgotten;  // Released after the lock.
    std::vector<Waiting> next;
    {
        Mutex::Autolock lock(mLock);
        const auto it = mPeers.find(peer.identity().pid);
        if (it != mPeers.end() && it->second.get() == &peer) {
            forgotten = std::move(it->second);
            mPeers.erase(it);
        }
        const auto others = std::stable_partition(mWaiting.begin(), mWaiting.end(),
                                                  [&](auto& each) { return each.before != &peer; });
        std::move(others, mWaiting.end(), std::back_inserter(next));
        mWaiting.erase(others, mWaiting.end());
    }
    for (Waiting& each : next) {
        serve(std::move(each.connection), each.root);
    }
}

void Peers::serve(base::unique_fd connection, const sp<BHwBinder>& root) {
    for (;;) {
        std::shared_ptr<Peer> before;
        const auto peer = find(connection, true, &before);
        if (peer != nullptr) {
            if (peer->serve(connection, root)) {
                return;
            }
            before = peer;  // It has ended since.
        }
        if (before == nullptr) {
            return;
        }
        before->end(Peer::End::kGone);
        Mutex::Autolock lock(mLock);
        const auto it = mPeers.find(before->identity().pid);
        if (it != mPeers.end() && it->second == before) {
            const auto waiting =
                    std::count_if(mWaiting.begin(), mWaiting.end(),
                                  [&](const auto& each) { return each.before == before.get(); });
            if (before->admits(static_cast<size_t>(waiting))) {
                mWaiting.push_back({before.get(), std::move(connection), root});
            }
            return;
        }
    }
}

sp<IBinder> Peers::connect(base::unique_fd connection) {
    const size_t closedBefore = mClosed;
    for (;;) {
        std::shared_ptr<Peer> before;
        const auto peer = find(connection, false, &before);
        if (before != nullptr) {
            before->end(Peer::End::kGone);
        }
        sp<IBinder> root;
        // One whose peer was closed as it was found must not begin anew, with nobody to end it.
        if (peer != nullptr && mClosed != closedBefore) {
            ALOGE("process %d is not asked: the runtime is stopped", peer->identity().pid);
            peer->end(Peer::End::kIdle);
            return nullptr;
        }
        if (peer == nullptr || peer->connect(connection, &root)) {
            return root;
        }
    }
}

void Peers::closeAll() {
    std::unordered_map<pid_t, std::shared_ptr<Peer>> peers;
    std::vector<Waiting> waiting;
    {
        Mutex::Autolock lock(mLock);
        ++mClosed;
        peers.swap(mPeers);
        waiting.swap(mWaiting);
    }
    for (const auto& entry : peers) {
        entry.second->end(Peer::End::kClosed);
    }
}

}  // namespace android::hardware::socket
