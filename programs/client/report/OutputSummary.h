/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "client/model/TensorShape.h"

namespace orva::client {

// What an output tensor holds, in short. An element that is no number leaves none of min, max and
// mean one.
struct OutputSummary {
    TensorShape shape;
    long double min = 0;
    long double max = 0;
    long double mean = 0;
    std::vector<long double> first;

    static OutputSummary of(const TensorShape& shape, const uint8_t* data);
    // One line, for people.
    std::string text() const;
    nlohmann::json json() const;
};

}  // namespace orva::client
