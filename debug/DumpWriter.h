/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

namespace orva::hidl {

// Writes a text to a descriptor that a client has sent: a pipe, a socket or a regular file; to
// anything else nothing is written. False, and perhaps a part written, when that is not done within
// about two seconds. Waits no longer for a pipe or a socket, whatever the client does with the
// other end meanwhile; a file takes what its file system takes. Raises no signal.
bool WriteDump(int fd, const std::string& text);

}  // namespace orva::hidl
