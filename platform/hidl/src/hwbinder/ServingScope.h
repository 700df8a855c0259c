/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

namespace android {
namespace hardware {

namespace socket {
class Channel;
class Link;
}  // namespace socket

// One call from another process, for as long as this thread serves it: its caller is the thread's
// calling identity, and calls back to it go the way it came. Calls served within it nest.
class ServingScope {
public:
    ServingScope(pid_t pid, uid_t uid, bool oneway, socket::Channel* channel);
    ~ServingScope();
    ServingScope(const ServingScope&) = delete;
    ServingScope& operator=(const ServingScope&) = delete;

    // How many calls this thread serves, this one included.
    int depth() const { return mDepth; }

    // The call is answered: its caller waits for this thread no longer, and calls back to it go as
    // any others do.
    void callerGoesOn() { mCallerWaits = false; }

    // The channel on whose far end a thread of the link's peer waits for this thread; null when
    // there is none.
    static socket::Channel* channelTo(const socket::Link& link);

private:
    const ServingScope* const mOuter;
    const int mDepth;
    socket::Channel* const mChannel;  // Null for a oneway call: nobody waits.
    bool mCallerWaits = true;
    const pid_t mOuterPid;
    const uid_t mOuterUid;
};

}  // namespace hardware
}  // namespace android
