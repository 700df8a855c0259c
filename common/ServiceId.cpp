/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "common/ServiceId.h"

#include <charconv>
#include <iterator>

#include <hwbinder/IPCThreadState.h>

namespace orva::hidl {

std::string MakeServiceId(int32_t clientId) {
    const int pid = android::hardware::IPCThreadState::self()->getCallingPid();
    constexpr size_t kLongest = sizeof "-2147483648" - 1;
    char text[2 * kLongest + 1];
    char* end = std::to_chars(text, text + kLongest, pid).ptr;
    *end++ = ':';
    end = std::to_chars(end, std::end(text), clientId).ptr;
    return std::string(text, end);
}

int32_t ListenerClientId(int32_t negatedClientId) {
    return static_cast<int32_t>(0U - static_cast<uint32_t>(negatedClientId));
}

}  // namespace orva::hidl
