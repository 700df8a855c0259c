/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hwbinder/IPCThreadState.h>

#include <unistd.h>

#include "../socket/Channel.h"
#include "../socket/Reactor.h"
#include "ServingScope.h"

namespace android {
namespace hardware {

namespace {

thread_local const ServingScope* innermost = nullptr;

}  // namespace

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

void IPCThreadState::joinThreadPool(bool) {
    socket::Reactor::instance().join();
}

ServingScope::ServingScope(pid_t pid, uid_t uid, bool oneway, socket::Channel* channel)
        : mOuter(innermost),
          mDepth(mOuter == nullptr ? 1 : mOuter->mDepth + 1),
          mChannel(oneway ? nullptr : channel),
          mOuterPid(IPCThreadState::self()->mCallingPid),
          mOuterUid(IPCThreadState::self()->mCallingUid) {
    IPCThreadState* state = IPCThreadState::self();
    state->mCallingPid = oneway ? 0 : pid;
    state->mCallingUid = uid;
    state->mServing = true;
    innermost = this;
}

ServingScope::~ServingScope() {
    IPCThreadState* state = IPCThreadState::self();
    state->mCallingPid = mOuterPid;
    state->mCallingUid = mOuterUid;
    state->mServing = mOuter != nullptr;
    innermost = mOuter;
}

socket::Channel* ServingScope::channelTo(const socket::Link& link) {
    for (const ServingScope* scope = innermost; scope != nullptr; scope = scope->mOuter) {
        if (scope->mChannel != nullptr && &scope->mChannel->link() == &link) {
            return scope->mChannel;
        }
    }
    return nullptr;
}

}  // namespace hardware
}  // namespace android
