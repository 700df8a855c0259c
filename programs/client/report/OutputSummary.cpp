/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/OutputSummary.h"

#include <algorithm>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace orva::client {

namespace {

constexpr size_t kFirstValues = 5;

}  // namespace

OutputSummary OutputSummary::of(const TensorShape& shape, const uint8_t* data) {
    OutputSummary summary;
    summary.shape = shape;
    const size_t count = shape.elements();
    double sum = 0;
    for (size_t i = 0; i < count; ++i) {
        const double value = valueAt(shape.type, data + i * sizeOf(shape.type));
        summary.min = i == 0 ? value : std::min(summary.min, value);
        summary.max = i == 0 ? value : std::max(summary.max, value);
        sum += value;
        if (i < kFirstValues) {
            summary.first.push_back(value);
        }
    }
    summary.mean = count == 0 ? 0 : sum / static_cast<double>(count);
    return summary;
}

std::string OutputSummary::text() const {
    std::string text = (shape.name.empty() ? "output" : shape.name) + " " + nameOf(shape.type) +
                       " " + shape.text();
    if (shape.elements() == 0) {
        return text + ": empty";
    }
    char numbers[128];
    snprintf(numbers, sizeof numbers, ": min %.6g, max %.6g, mean %.6g, first", min, max, mean);
    text += numbers;
    for (const double value : first) {
        snprintf(numbers, sizeof numbers, " %.6g", value);
        text += numbers;
    }
    return text + (shape.elements() > first.size() ? " …" : "");
}

nlohmann::json OutputSummary::json() const {
    return {{"name", shape.name},  {"type", nameOf(shape.type)},
            {"shape", shape.dims}, {"min", min},
            {"max", max},          {"mean", mean},
            {"first", first}};
}

}  // namespace orva::client
