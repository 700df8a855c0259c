/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <optional>

namespace orva::client {

// Of the terminal that standard output is, as it is now; nothing when it is none. One that does not
// say its size is taken to have 80 columns, and lines without end.
std::optional<size_t> terminalWidth();
std::optional<size_t> terminalHeight();

}  // namespace orva::client
