/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

namespace android::hardware {

// The way back to a thread of another process that waits for this one; a transport's own.
class WayBack {
public:
    // Whose thread it is: what its transport knows the process by.
    explicit WayBack(const void* peer) : mPeer(peer) {}
    const void* peer() const { return mPeer; }

protected:
    ~WayBack() = default;

private:
    const void* const mPeer;
};

// One call from another process, for as long as this thread serves it: its caller is the thread's
// calling identity, and calls back to it go the way it came. Calls served within it nest.
class ServingScope {
public:
    // The way back is null for a oneway call: nobody waits.
    ServingScope(pid_t pid, uid_t uid, WayBack* wayBack);
    ~ServingScope();
    ServingScope(const ServingScope&) = delete;
    ServingScope& operator=(const ServingScope&) = delete;

    // How many calls this thread serves, this one included.
    int depth() const { return mDepth; }

    // The call is answered: its caller waits for this thread no longer, and calls back to it go as
    // any others do.
    void callerGoesOn() { mCallerWaits = false; }

    // The way to a thread of the peer that waits for this thread; null when there is none.
    static WayBack* wayBackTo(const void* peer);

private:
    const ServingScope* const mOuter;
    const int mDepth;
    WayBack* const mWayBack;
    bool mCallerWaits = true;
    const pid_t mOuterPid;
    const uid_t mOuterUid;
};

}  // namespace android::hardware
