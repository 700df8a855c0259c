/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "ExportTable.h"

#include <atomic>

#include "../RuntimeState.h"

namespace android::hardware::socket {

ExportTable::~ExportTable() {
    runtimeState().exports -= mEntries.size();
}

uint64_t ExportTable::add(const sp<BHwBinder>& binder) {
    const auto known = mNumbers.find(binder.get());
    if (known != mNumbers.end()) {
        ++mEntries[known->second].count;
        return known->second;
    }
    static std::atomic<uint64_t> next{1};
    const uint64_t number = next++;
    mEntries.emplace(number, Entry{binder, 1, 0});
    mNumbers.emplace(binder.get(), number);
    ++runtimeState().exports;
    return number;
}

bool ExportTable::release(uint64_t number, uint32_t count, uint32_t mentions, sp<BHwBinder>* last) {
    const auto it = mEntries.find(number);
    if (it == mEntries.end() || it->second.count < count) {
        return false;
    }
    it->second.count -= count;
    it->second.mentions += mentions;
    *last = dropIfUnused(it);
    return true;
}

sp<BHwBinder> ExportTable::find(uint64_t number) const {
    const auto it = mEntries.find(number);
    return it == mEntries.end() ? nullptr : it->second.binder;
}

sp<BHwBinder> ExportTable::mentioned(uint64_t number) {
    const auto it = mEntries.find(number);
    if (it == mEntries.end()) {
        return nullptr;
    }
    const sp<BHwBinder> binder = it->second.binder;
    --it->second.mentions;
    dropIfUnused(it);
    return binder;
}

sp<BHwBinder> ExportTable::dropIfUnused(Entries::iterator entry) {
    if (entry->second.count > 0 || entry->second.mentions > 0) {
        return nullptr;
    }
    sp<BHwBinder> binder = std::move(entry->second.binder);
    mNumbers.erase(binder.get());
    mEntries.erase(entry);
    --runtimeState().exports;
    return binder;
}

std::vector<sp<BHwBinder>> ExportTable::takeAll() {
    std::vector<sp<BHwBinder>> all;
    all.reserve(mEntries.size());
    for (auto& entry : mEntries) {
        all.push_back(std::move(entry.second.binder));
    }
    runtimeState().exports -= mEntries.size();
    mEntries.clear();
    mNumbers.clear();
    return all;
}

}  // namespace android::hardware::socket
