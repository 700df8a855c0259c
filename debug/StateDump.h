/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <hidl/HidlSupport.h>

#include "debug/ServiceActivity.h"

namespace orva::hidl {

// One session as a service knows it.
struct SessionState {
    std::string id;
    std::shared_ptr<const SessionActivity> activity;
    std::optional<bool> listener;  // nothing while the listeners are locked
};

// The sessions of a service, of whose listeners nothing is known yet.
std::vector<SessionState> StatesOf(const SessionActivities& activities);

// Adds which of them have an entry in a service's table of listeners.
template <typename Listeners>
void AddListeners(const Listeners& listeners, std::vector<SessionState>& sessions) {
    for (SessionState& session : sessions) {
        session.listener = listeners.count(session.id) != 0;
    }
}

// A service at one moment.
struct ServiceState {
    const char* name;
    const ServiceActivity& activity;
    std::optional<std::vector<SessionState>> sessions;  // nothing while they are locked
};

// How long a dump waits for each of the service's locks: a client that holds one up is what the
// dump is to show.
constexpr int kDumpLockMilliseconds = 200;

// Writes a service's state, and what the process holds for both services, to the first descriptor
// of `handle`: a pipe, a socket or a file. Options: "--json" (one object on one line), "--client
// ID" (a session's service id, or a process id: of that client only). Anything else gets the list
// of options. Without a descriptor, or where nothing can be written within a few seconds, nothing
// happens.
void DumpState(const ServiceState& state, const android::hardware::hidl_handle& handle,
               const android::hardware::hidl_vec<android::hardware::hidl_string>& texts);

}  // namespace orva::hidl
