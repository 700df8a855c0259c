/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <cstdint>

namespace android::hardware {

// What the current thread is doing for whom. Every operation concerns the calling thread only.
class IPCThreadState {
public:
    static IPCThreadState* self();

    // Who sent the call that this thread is serving; this process itself while it serves none.
    // The pid is 0 while a oneway call is served.
    pid_t getCallingPid() const { return mCallingPid; }
    uid_t getCallingUid() const { return mCallingUid; }

    // Acts as this process until restoreCallingIdentity is given the token back.
    int64_t clearCallingIdentity();
    void restoreCallingIdentity(int64_t token);

private:
    friend class ServingScope;
    IPCThreadState();

    pid_t mCallingPid;
    uid_t mCallingUid;
};

}  // namespace android::hardware
