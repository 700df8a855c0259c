/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstdint>

#include <orva/reference/NodeStatus.h>

#include "base/Guarded.h"
#include "base/Log.h"
#include "base/Mutex.h"

namespace orva::reference {

// An initialisation that succeeds once, and may be tried again until it has. May be used from any
// thread.
class InitOnce {
public:
    // Runs `initialise` and returns its status; kNodeNotReady when another try is under way or has
    // succeeded. What `initialise` writes, those see who have seen done().
    template <class Operation>
    int32_t Try(Operation&& initialise, int32_t onThrow = kNodeFailed) {
        {
            MutexLock lock(mutex_);
            if (stage_ != Stage::kNew) {
                ORVA_LOGE("initialised already");
                return kNodeNotReady;
            }
            stage_ = Stage::kTrying;
        }
        const int32_t status = Guarded("initialisation failed", initialise, onThrow);
        MutexLock lock(mutex_);
        stage_ = status == kNodeOk ? Stage::kDone : Stage::kNew;
        status_ = status;
        done_ = status == kNodeOk;
        return status;
    }

    bool done() const { return done_; }
    // What the latest try has answered; kNodeNotReady before the first one has.
    int32_t status() const {
        MutexLock lock(mutex_);
        return status_;
    }

private:
    enum class Stage { kNew, kTrying, kDone };

    mutable Mutex mutex_;
    Stage stage_ ORVA_GUARDED_BY(mutex_) = Stage::kNew;
    int32_t status_ ORVA_GUARDED_BY(mutex_) = kNodeNotReady;
    std::atomic<bool> done_{false};  // Asked for by every request.
};

}  // namespace orva::reference
