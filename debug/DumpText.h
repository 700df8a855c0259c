/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

namespace orva::hidl {

// Appends what printf would print.
void Append(std::string& text, const char* format, ...) __attribute__((format(printf, 2, 3)));

// A client's text in quotes, as JSON has it: with what could be taken for something else, or does
// something to a terminal, escaped. Bytes beyond ASCII are shown as "?".
std::string Quoted(const std::string& text);

}  // namespace orva::hidl
