/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

#include <android-base/unique_fd.h>
#include <hwbinder/Binder.h>
#include <utils/Mutex.h>

#include "Peer.h"

namespace android::hardware::socket {

// The peers of this process, by their processes' numbers. Every operation may be called from any
// thread.
class Peers {
public:
    static Peers& instance();

    // Serves `root` on a connection that came in. When the process is one whose earlier life here
    // has yet to be finished, or has the number of such a one, that comes first.
    void serve(base::unique_fd connection, const sp<BHwBinder>& root);
    // The object served on a connection that this process made; null, with a logged reason, when
    // there is none.
    sp<IBinder> connect(base::unique_fd connection);

    // A peer's end is finished, with everybody told: forgets it, and serves who waited for that.
    void ended(const Peer& peer);
    // Ends all.
    void closeAll();

private:
    // A connection to be served once an earlier peer's end is finished.
    struct Waiting {
        const Peer* before;
        base::unique_fd connection;
        sp<BHwBinder> root;
    };

    // Whose a connection is. Null when it is refused, logged; if there is another whose end must be
    // finished before, that.
    std::shared_ptr<Peer> find(int connection, bool forServing, std::shared_ptr<Peer>* before);

    Mutex mLock;
    std::atomic<size_t> mClosed{0};  // How often all were.
    std::unordered_map<pid_t, std::shared_ptr<Peer>> mPeers GUARDED_BY(mLock);
    std::vector<Waiting> mWaiting GUARDED_BY(mLock);  // In the order in which they came.
};

}  // namespace android::hardware::socket
