/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <deque>
#include <memory>

#include <utils/Mutex.h>

namespace android::hardware::socket {

// Bounds how many calls of one peer are served at once. Further ones wait without a thread, in the
// order in which they came. Every operation may be called from any thread.
class ServingTurns {
public:
    // What waits for its turn.
    class Waiting {
    public:
        virtual ~Waiting() = default;
        // Its turn has come; to be taken by begin(), or given up by forget().
        virtual void turnHasCome() = 0;

    private:
        friend class ServingTurns;
        enum class State { kOutside, kWaits, kCalled };
        State mState = State::kOutside;  // Guarded by the turns' lock.
    };

    // Whether `waiting` may be served now; its end() is due then. Otherwise it is called.
    bool begin(const std::shared_ptr<Waiting>& waiting, size_t limit);
    void end();
    bool anyServed();
    // It will not come any more.
    void forget(Waiting& waiting);

private:
    Mutex mLock;
    size_t mServed GUARDED_BY(mLock) = 0;  // Those that were called included.
    std::deque<std::shared_ptr<Waiting>> mWaiting GUARDED_BY(mLock);
};

}  // namespace android::hardware::socket
