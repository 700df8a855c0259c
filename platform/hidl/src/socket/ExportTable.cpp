/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "ExportTable.h"

#include "RuntimeCounts.h"

namespace android {
namespace hardware {
namespace socket {

ExportTable::~ExportTable() {
    runtimeCounts().exports -= mEntries.size();
}

uint64_t ExportTable::add(const sp<BHwBinder>& binder) {
    const auto known = mNumbers.find(binder.get());
    if (known != mNumbers.end()) {
        ++mEntries[known->second].count;
        return known->second;
    }
    const uint64_t number = mNext++;
    mEntries.emplace(number, Entry{binder, 1});
    mNumbers.emplace(binder.get(), number);
    ++runtimeCounts().exports;
    return number;
}

bool ExportTable::release(uint64_t number, uint32_t count, sp<BHwBinder>* last) {
    const auto it = mEntries.find(number);
    if (it == mEntries.end() || it->second.count < count) {
        return false;
    }
    it->second.count -= count;
    if (it->second.count == 0) {
        *last = std::move(it->second.binder);
        mNumbers.erase(last->get());
        mEntries.erase(it);
        --runtimeCounts().exports;
    }
    return true;
}

sp<BHwBinder> ExportTable::find(uint64_t number) const {
    const auto it = mEntries.find(number);
    return it == mEntries.end() ? nullptr : it->second.binder;
}

std::vector<sp<BHwBinder>> ExportTable::takeAll() {
    std::vector<sp<BHwBinder>> all;
    all.reserve(mEntries.size());
    for (auto& entry : mEntries) {
        all.push_back(std::move(entry.second.binder));
    }
    runtimeCounts().exports -= mEntries.size();
    mEntries.clear();
    mNumbers.clear();
    return all;
}

}  // namespace socket
}  // namespace hardware
}  // namespace android
