/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

namespace android::hardware {

// The process, as far as its thread pool goes.
class ProcessState {
public:
    static ProcessState* self();

    // Starts the pool's first thread, unless the pool runs already or its whole size is the caller
    // that is to join. More start as calls need them.
    void startThreadPool();
};

}  // namespace android::hardware
