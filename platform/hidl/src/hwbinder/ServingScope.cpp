/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "ServingScope.h"

#include <hwbinder/IPCThreadState.h>

#include "../socket/Channel.h"

namespace android {
namespace hardware {

namespace {

thread_local const ServingScope* innermost = nullptr;

}  // namespace

ServingScope::ServingScope(pid_t pid, uid_t uid, bool oneway, socket::Channel* channel)
        : mOuter(innermost),
          mDepth(mOuter == nullptr ? 1 : mOuter->mDepth + 1),
          mChannel(oneway ? nullptr : channel),
          mOuterPid(IPCThreadState::self()->mCallingPid),
          mOuterUid(IPCThreadState::self()->mCallingUid) {
    IPCThreadState* state = IPCThreadState::self();
    state->mCallingPid = oneway ? 0 : pid;
    state->mCallingUid = uid;
    innermost = this;
}

ServingScope::~ServingScope() {
    IPCThreadState* state = IPCThreadState::self();
    state->mCallingPid = mOuterPid;
    state->mCallingUid = mOuterUid;
    innermost = mOuter;
}

socket::Channel* ServingScope::channelTo(const socket::Link& link) {
    for (const ServingScope* scope = innermost; scope != nullptr; scope = scope->mOuter) {
        if (scope->mChannel != nullptr && &scope->mChannel->link() == &link) {
            return scope->mCallerWaits ? scope->mChannel : nullptr;
        }
    }
    return nullptr;
}

}  // namespace hardware
}  // namespace android
