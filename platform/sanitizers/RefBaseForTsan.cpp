/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Tells ThreadSanitizer what android::RefBase does with its counts. The library that has it comes
// compiled, without the sanitizer, which then takes every destructor for a race with the last use
// on another thread. These stand before the library's own, and call them.
#include <dlfcn.h>

#include <sanitizer/tsan_interface.h>
#include <utils/RefBase.h>

namespace android {

namespace {

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

void RefBase::decStrong(const void* id) const {
    using Function = void (*)(const RefBase*, const void*);
    static const auto libraries = next<Function>("_ZNK7android7RefBase9decStrongEPKv");
    __tsan_release(const_cast<RefBase*>(this));
    libraries(this, id);
}

// Called when the last count has gone, before the destructor.
void RefBase::onLastStrongRef(const void*) {
    __tsan_acquire(this);
}

}  // namespace android
