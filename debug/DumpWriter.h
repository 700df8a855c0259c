/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

namespace orva::hidl {

// Writes a text to a descriptor that a client has sent: a pipe, a socket or a file in memory. To
// anything else nothing is written: whoever serves a file could hold the writer up. False, and
// perhaps a part written, when that is not done within about two seconds, whatever the client does
// with the other end meanwhile. Raises no signal.
bool WriteDump(int fd, const std::string& text);

}  // namespace orva::hidl
