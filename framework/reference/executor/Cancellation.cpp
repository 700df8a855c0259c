/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/Cancellation.h>

#include <utility>

namespace orva::reference {

void Cancellation::Cancel(CancelCause cause) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (IsCancelled()) {
        return;
    }
    cause_ = cause;
    for (const auto& told : listeners_) {
        told();
    }
}

Cancellation::Listener::Listener(Cancellation& cancellation, std::function<void()> told)
        : cancellation_(cancellation) {
    const std::lock_guard<std::mutex> lock(cancellation_.mutex_);
    place_ = cancellation_.listeners_.insert(cancellation_.listeners_.end(), std::move(told));
    if (cancellation_.IsCancelled()) {
        (*place_)();
    }
}

Cancellation::Listener::~Listener() {
    const std::lock_guard<std::mutex> lock(cancellation_.mutex_);
    cancellation_.listeners_.erase(place_);
}

}  // namespace orva::reference
