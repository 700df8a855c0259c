/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/Terminal.h"

#include <algorithm>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

namespace orva::client {

namespace {

constexpr size_t kUsualWidth = 80;
constexpr size_t kHanging = 2;

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
        // Not within the spaces that it begins with.
        const size_t word = text.find_first_not_of(' ', begin);
        size_t end = text.rfind(' ', begin + room);
        if (end == std::string::npos || end <= word) {
            end = text.find(' ', std::max(word, begin + room));
        }
        const size_t next = text.find_first_not_of(' ', end);
        if (next == std::string::npos) {
            break;
        }
        const size_t last = text.find_last_not_of(' ', end);
        lines += (begin == 0 ? "" : std::string(indent, ' ')) +
                 text.substr(begin, last + 1 - begin) + "\n";
        begin = next;
    }
    return lines + (begin == 0 ? "" : std::string(indent, ' ')) + text.substr(begin);
}

std::string linesWrapped(const std::string& text, size_t width, std::optional<size_t> indent) {
    std::string lines;
    for (size_t begin = 0; begin < text.size();) {
        const size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        const size_t first = std::min(line.find_first_not_of(' '), line.size());
        lines += wrapped(line, width, indent.value_or(first + kHanging)) +
                 (end < text.size() ? "\n" : "");
        begin = end + 1;
    }
    return lines;
}

std::string printable(std::string text, const std::string& allowed) {
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte < 0x20 && allowed.find(text[i]) == std::string::npos) || byte == 0x7f) {
            text[i] = '?';
        } else if (byte == 0xc2 && i + 1 < text.size() &&
                   (static_cast<unsigned char>(text[i + 1]) & 0xe0) == 0x80) {
            text[i] = text[i + 1] = '?';  // U+0080 to U+009F
        }
    }
    return text;
}

void say(const char* format, ...) {
    va_list values, again;
    va_start(values, format);
    va_copy(again, values);
    std::string text(static_cast<size_t>(std::max(vsnprintf(nullptr, 0, format, values), 0)) + 1,
                     '\0');
    vsnprintf(text.data(), text.size(), format, again);
    va_end(again);
    va_end(values);
    text.pop_back();
    fputs(linesWrapped(printable(text, "\n\t"), terminalWidth().value_or(SIZE_MAX)).c_str(),
          stdout);
}

}  // namespace orva::client
