/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace orva::client {

// Of the terminal that standard output is, as it is now; nothing when it is none. One that does not
// say its size is taken to have 80 columns, and lines without end. The width is what $COLUMNS says
// where that is set, whatever the output is.
std::optional<size_t> terminalWidth();
std::optional<size_t> terminalHeight();

// A text with its lines broken where there are spaces, none longer than `width` but for a word that
// is. The second and further ones are indented; that has room for at least as much besides.
std::string wrapped(const std::string& text, size_t width, size_t indent);

// The same for each line of a text; without an indent, what is left of a line is indented two more
// than its beginning.
std::string linesWrapped(const std::string& text, size_t width,
                         std::optional<size_t> indent = std::nullopt);

// A text of another's, as a model's names or a client's, without what would lead a terminal:
// control characters but for `allowed` ones.
std::string printable(std::string text, const std::string& allowed = "");

// printf() for people: printable lines that the terminal has room for. A pipe gets them whole.
void say(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace orva::client
