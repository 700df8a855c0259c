/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <CLI/App.hpp>
#include <CLI/Formatter.hpp>

namespace orva::client {

// What --help prints, in lines that the terminal has room for.
class HelpText : public CLI::Formatter {
public:
    HelpText();

    std::string make_option(const CLI::Option* option, bool isPositional) const override;
    std::string make_subcommand(const CLI::App* command) const override;
    std::string make_help(const CLI::App* app, std::string name,
                          CLI::AppFormatMode mode) const override;

private:
    const size_t width_;
};

}  // namespace orva::client
