/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>

namespace orva::hidl {

// Throws std::bad_function_call for an empty callback, as calling it would. The last thing that a
// method does, when it holds nothing any more: this library is built without exceptions, so nothing
// is let go of when one passes. Only callers in this process get here with one; the proxies of
// others refuse it.
template <typename Callback>
void RequireCallback(const Callback& callback) {
    if (callback == nullptr) {
        std::function<void()>()();
    }
}

}  // namespace orva::hidl
