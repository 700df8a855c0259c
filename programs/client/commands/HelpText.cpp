/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/commands/HelpText.h"

#include <cstdint>
#include <utility>

#include <CLI/CLI.hpp>

#include "client/io/Terminal.h"

namespace orva::client {

namespace {

// Narrower than this, descriptions stand below what they describe.
constexpr size_t kLeastForTwoColumns = 72;
constexpr size_t kNarrowIndent = 4;

}  // namespace

HelpText::HelpText() : width_(terminalWidth().value_or(SIZE_MAX)) {
    if (width_ < kLeastForTwoColumns) {
        column_width(kNarrowIndent);
    }
}

std::string HelpText::make_option(const CLI::Option* option, bool isPositional) const {
    return linesWrapped(Formatter::make_option(option, isPositional), width_, get_column_width());
}

std::string HelpText::make_subcommand(const CLI::App* command) const {
    return linesWrapped(Formatter::make_subcommand(command), width_, get_column_width());
}

std::string HelpText::make_help(const CLI::App* app, std::string name,
                                CLI::AppFormatMode mode) const {
    return linesWrapped(Formatter::make_help(app, std::move(name), mode), width_);
}

}  // namespace orva::client
