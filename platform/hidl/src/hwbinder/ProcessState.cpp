/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hwbinder/ProcessState.h>

#include "Transport.h"

namespace android::hardware {

sp<ProcessState> ProcessState::self() {
    // Kept for ever by the reference that the pointer's own sp holds.
    static const sp<ProcessState>& state = *new sp<ProcessState>(new ProcessState);
    return state;
}

status_t ProcessState::setThreadPoolConfiguration(size_t maxThreads, bool callerJoinsPool) {
    if (maxThreads == 0) {
        return BAD_VALUE;
    }
    transport::configurePool(maxThreads, callerJoinsPool);
    return NO_ERROR;
}

void ProcessState::startThreadPool() {
    transport::startPool();
}

}  // namespace android::hardware
