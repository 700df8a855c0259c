/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>
#include <vector>

#include <hwbinder/Binder.h>

namespace android::hardware::socket {

// This process's objects that one peer holds, each with how often it was sent there. Not
// thread-safe: its peer's lock guards it.
class ExportTable {
public:
    ~ExportTable();

    // Counts one more reception; a new object gets a new number, never used before in this process.
    uint64_t add(const sp<BHwBinder>& binder);
    // Takes receptions back. False when there are not as many. `last` takes the object when that
    // was all of them and all messages that mention it have come, so that the caller can let go of
    // it outside its lock.
    bool release(uint64_t number, uint32_t count, uint32_t mentions, sp<BHwBinder>* last);
    sp<BHwBinder> find(uint64_t number) const;
    // Finds an object for one such message.
    sp<BHwBinder> mentioned(uint64_t number);
    std::vector<sp<BHwBinder>> takeAll();
    bool empty() const { return mEntries.empty(); }

private:
    struct Entry {
        sp<BHwBinder> binder;
        uint64_t count;
        // Messages mentioning it that have yet to come; below zero, the peer has yet to tell of
        // those that came.
        int64_t mentions;
    };

    using Entries = std::unordered_map<uint64_t, Entry>;

    sp<BHwBinder> dropIfUnused(Entries::iterator entry);

    Entries mEntries;
    std::unordered_map<const BHwBinder*, uint64_t> mNumbers;
};

}  // namespace android::hardware::socket
