/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hwbinder/ProcessState.h>

#include "../socket/Reactor.h"

namespace android {
namespace hardware {

sp<ProcessState> ProcessState::self() {
    // Kept for ever by the reference that the pointer's own sp holds.
    static const sp<ProcessState>& state = *new sp<ProcessState>(new ProcessState);
    return state;
}

status_t ProcessState::setThreadPoolConfiguration(size_t maxThreads, bool callerJoinsPool) {
    if (maxThreads == 0) {
        return BAD_VALUE;
    }
    socket::Reactor::instance().configure(maxThreads, callerJoinsPool);
    return NO_ERROR;
}

size_t ProcessState::getMaxThreads() {
    return socket::Reactor::instance().maxThreads();
}

void ProcessState::startThreadPool() {
    socket::Reactor::instance().start();
}

}  // namespace hardware
}  // namespace android
