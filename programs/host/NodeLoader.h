/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

namespace orva::host {

// Loads a shared object for the process's lifetime and has it register its node types; see
// orva/reference/NodeLibrary.h. Throws std::runtime_error, naming the file and saying why, when it
// cannot be loaded or is no such library. Whatever else it throws is the library's own.
void loadNodeLibrary(const std::string& path);

}  // namespace orva::host
