/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include <android-base/unique_fd.h>

namespace orva::client {

// Asks a host over the socket that it has besides its services, by a line of JSON without its end,
// and hands over what it answers on. Throws std::runtime_error when there is no such socket, or it
// cannot be reached.
android::base::unique_fd askHost(pid_t host, const std::string& request);

// What a host's framework said last of this process's work that failed, oldest first: "4711:1: " or
// "process 4711: ", and why. Throws std::exception when the host does not answer, within seconds.
std::vector<std::string> frameworkErrors(pid_t host);

}  // namespace orva::client
