/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <optional>
#include <set>
#include <string>

#include <hidl/HidlSupport.h>

#include "common/ServiceActivity.h"

namespace orva::hidl {

// How long a dump waits for each lock of a service that it looks behind: a client that holds one up
// is what the dump is to show.
constexpr int kDumpLockMilliseconds = 200;

// The ids in a service's table of listeners.
template <typename Listeners>
std::set<std::string> IdsOf(const Listeners& listeners) {
    std::set<std::string> ids;
    for (const auto& each : listeners) {
        ids.insert(each.first);
    }
    return ids;
}

// Writes what a service does, and what the process holds for both services, to the first descriptor
// of `handle`: a pipe, a socket or a file. `listeners` are the ids that have one; nothing while the
// service has them locked. `texts` are options: "--json" (one object on one line), "--client ID" (a
// session's service id, or a process id: of that client only). Anything else gets the list of
// options. Without a descriptor, or where nothing can be written within a few seconds, nothing
// happens. From any thread; takes none of the service's locks.
void DumpState(const ServiceActivity& service,
               const std::optional<std::set<std::string>>& listeners,
               const android::hardware::hidl_handle& handle,
               const android::hardware::hidl_vec<android::hardware::hidl_string>& texts);

}  // namespace orva::hidl
