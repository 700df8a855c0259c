/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <hidl/HidlSupport.h>

#include "common/ServiceActivity.h"

namespace orva::hidl {

// Writes what a service does, and what its clients have mapped with both services, to the first
// descriptor of `handle`: a pipe, a socket or a file in memory. `texts` are options: "--json" (one
// object on one line), "--client ID" (a session's service id, or a process id: of that client
// only). Anything else gets the list of options. Without a descriptor, or where nothing can be
// written within a few seconds, nothing happens. From any thread; takes none of the service's
// locks, and changes nothing: what a process that is gone has left is shown with its client "gone".
void DumpState(const ServiceActivity& service, const android::hardware::hidl_handle& handle,
               const android::hardware::hidl_vec<android::hardware::hidl_string>& texts);

}  // namespace orva::hidl
