/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/Terminal.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

namespace orva::client {

namespace {

constexpr size_t kUsualWidth = 80;

std::optional<winsize> terminalSize() {
    if (isatty(STDOUT_FILENO) != 1) {
        return std::nullopt;
    }
    winsize size = {};
    return ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size : winsize{};
}

}  // namespace

std::optional<size_t> terminalWidth() {
    const char* const columns = std::getenv("COLUMNS");
    const size_t wanted = columns != nullptr ? std::strtoul(columns, nullptr, 10) : 0;
    if (wanted > 0) {
        return wanted;
    }
    const auto size = terminalSize();
    return size ? std::optional<size_t>(size->ws_col > 0 ? size->ws_col : kUsualWidth)
                : std::nullopt;
}

std::optional<size_t> terminalHeight() {
    const auto size = terminalSize();
    return size ? std::optional<size_t>(size->ws_row > 0 ? size->ws_row : SIZE_MAX) : std::nullopt;
}

std::string wrapped(const std::string& text, size_t width, size_t indent) {
    width = std::max(width, 2 * indent);
    std::string lines;
    size_t begin = 0;
    while (text.size() - begin + (begin == 0 ? 0 : indent) > width) {
        const size_t room = width - (begin == 0 ? 0 : indent);
        size_t end = text.rfind(' ', begin + room);
        if (end == std::string::npos || end <= begin) {
            end = text.find(' ', begin + room);
        }
        if (end == std::string::npos) {
            break;
        }
        lines += (begin == 0 ? "" : std::string(indent, ' ')) + text.substr(begin, end - begin) +
                 "\n";
        begin = end + 1;
    }
    return lines + (begin == 0 ? "" : std::string(indent, ' ')) + text.substr(begin);
}

}  // namespace orva::client
