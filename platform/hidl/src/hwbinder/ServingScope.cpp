/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "ServingScope.h"

#include <hwbinder/IPCThreadState.h>

namespace android::hardware {

namespace {

thread_local const ServingScope* innermost = nullptr;

}  // namespace

ServingScope::ServingScope(pid_t pid, uid_t uid, WayBack* wayBack)
        : mOuter(innermost),
          mDepth(mOuter == nullptr ? 1 : mOuter->mDepth + 1),
          mWayBack(wayBack),
          mOuterPid(IPCThreadState::self()->mCallingPid),
          mOuterUid(IPCThreadState::self()->mCallingUid) {
    IPCThreadState* state = IPCThreadState::self();
    state->mCallingPid = wayBack == nullptr ? 0 : pid;
    state->mCallingUid = uid;
    innermost = this;
}

ServingScope::~ServingScope() {
    IPCThreadState* state = IPCThreadState::self();
    state->mCallingPid = mOuterPid;
    state->mCallingUid = mOuterUid;
    innermost = mOuter;
}

WayBack* ServingScope::wayBackTo(const void* peer) {
    for (const ServingScope* scope = innermost; scope != nullptr; scope = scope->mOuter) {
        if (scope->mWayBack != nullptr && scope->mWayBack->peer() == peer) {
            return scope->mCallerWaits ? scope->mWayBack : nullptr;
        }
    }
    return nullptr;
}

}  // namespace android::hardware
