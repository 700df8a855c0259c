/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hwbinder/IPCThreadState.h>

#include <unistd.h>

namespace android::hardware {

IPCThreadState* IPCThreadState::self() {
    thread_local IPCThreadState state;
    return &state;
}

IPCThreadState::IPCThreadState() : mCallingPid(getpid()), mCallingUid(getuid()) {}

int64_t IPCThreadState::clearCallingIdentity() {
    const int64_t token = static_cast<int64_t>(mCallingUid) << 32 |
                          static_cast<int64_t>(static_cast<uint32_t>(mCallingPid));
    mCallingPid = getpid();
    mCallingUid = getuid();
    return token;
}

void IPCThreadState::restoreCallingIdentity(int64_t token) {
    mCallingUid = static_cast<uid_t>(static_cast<uint64_t>(token) >> 32);
    mCallingPid = static_cast<pid_t>(token & 0xffffffff);
}

}  // namespace android::hardware
