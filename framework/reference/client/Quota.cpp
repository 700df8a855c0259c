/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/Quota.h"

#include "base/Log.h"

namespace orva::reference {

namespace {

bool TryAdd(std::atomic<size_t>& held, size_t amount, size_t most) {
    size_t now = held;
    do {
        if (most != 0 && (now > most || amount > most - now)) {
            return false;
        }
    } while (!held.compare_exchange_weak(now, now + amount));
    return true;
}

}  // namespace

bool Holding::Take(size_t amount) {
    const size_t each = pid_ == 0 ? 0 : quota_.each_.load();
    if (!TryAdd(held_, amount, each)) {
        ORVA_LOGE("process %d is refused: it holds %zu of %zu %s (%s)", pid_, held_.load(), each,
                  quota_.what_, quota_.eachOption_);
        return false;
    }
    const size_t all = quota_.all_;
    if (!TryAdd(quota_.held_, amount, all)) {
        held_ -= amount;
        ORVA_LOGE("process %d is refused: all hold %zu of %zu %s (%s)", pid_, quota_.held_.load(),
                  all, quota_.what_, quota_.allOption_);
        return false;
    }
    return true;
}

void Holding::Give(size_t amount) {
    quota_.held_ -= amount;
    held_ -= amount;
}

}  // namespace orva::reference
