/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <iterator>
#include <list>
#include <utility>

#include "common/Mutex.h"

namespace orva::hidl {

// The values of whoever is alive, for people to look at. Every operation may be called from any
// thread. The list must outlive its members.
template <typename Value>
class LiveList {
public:
    // Keeps a value in the list for as long as it lives itself.
    class Member {
    public:
        Member(LiveList& list, Value value) : list_(list) {
            // Made out here, so that the lock is held for two pointers only.
            self_.push_back(std::move(value));
            const MutexLock lock(list_.mutex_);
            list_.values_.splice(list_.values_.end(), self_, self_.begin());
            place_ = std::prev(list_.values_.end());
        }
        ~Member() {
            const MutexLock lock(list_.mutex_);
            self_.splice(self_.begin(), list_.values_, place_);
        }
        Member(const Member&) = delete;
        Member& operator=(const Member&) = delete;

    private:
        LiveList& list_;
        std::list<Value> self_;  // while not in the list
        typename std::list<Value>::iterator place_;
    };

    // Calls a function with each value, oldest first. None goes meanwhile, so it must be quick, and
    // must make and end no member of this list.
    template <typename Function>
    void ForEach(Function&& function) const {
        const MutexLock lock(mutex_);
        for (const Value& value : values_) {
            function(value);
        }
    }

private:
    mutable Mutex mutex_;
    std::list<Value> values_ ORVA_GUARDED_BY(mutex_);
};

}  // namespace orva::hidl
