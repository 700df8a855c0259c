/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <map>
#include <utility>

#include <utils/Mutex.h>

namespace android::hardware {

/** A map that any thread may use; it hands out copies. */
template <typename K, typename V>
class ConcurrentMap {
public:
    void set(K key, V value) {
        Mutex::Autolock lock(mLock);
        mMap[std::move(key)] = std::move(value);
    }

    V get(const K& key, const V& fallback) const {
        Mutex::Autolock lock(mLock);
        const auto found = mMap.find(key);
        return found == mMap.end() ? fallback : found->second;
    }

    void erase(const K& key) {
        Mutex::Autolock lock(mLock);
        mMap.erase(key);
    }

    /** Leaves an entry alone that has been given another value meanwhile. */
    void eraseIfEqual(const K& key, const V& value) {
        Mutex::Autolock lock(mLock);
        const auto found = mMap.find(key);
        if (found != mMap.end() && found->second == value)
            mMap.erase(found);
    }

private:
    mutable Mutex mLock;
    std::map<K, V> mMap GUARDED_BY(mLock);
};

}  // namespace android::hardware
