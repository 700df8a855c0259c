/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>

#include <CLI/App.hpp>

namespace orva::describe {

// As CLI::Range, by which "nan" lies between any two numbers.
class NumberRange : public CLI::Range {
public:
    template <typename Number>
    NumberRange(Number least, Number most) : Range(least, most) {
        func_ = [inRange = std::move(func_)](std::string& text) {
            return std::isnan(std::strtod(text.c_str(), nullptr)) ? text + " is no number"
                                                                  : inRange(text);
        };
    }
};

}  // namespace orva::describe
