/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/Terminal.h"

#include <cstdint>

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
    const auto size = terminalSize();
    return size ? std::optional<size_t>(size->ws_col > 0 ? size->ws_col : kUsualWidth)
                : std::nullopt;
}

std::optional<size_t> terminalHeight() {
    const auto size = terminalSize();
    return size ? std::optional<size_t>(size->ws_row > 0 ? size->ws_row : SIZE_MAX) : std::nullopt;
}

}  // namespace orva::client
