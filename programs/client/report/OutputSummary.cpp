/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/OutputSummary.h"

#include <cmath>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace orva::client {

namespace {

constexpr size_t kFirstValues = 5;

// Integers are told to their last digit.
std::string textOf(ElementType type, long double value) {
    char text[64];
    snprintf(text, sizeof text, isInteger(type) ? "%.0Lf" : "%.6Lg", value);
    return text;
}

nlohmann::json jsonOf(ElementType type, long double value) {
    if (!isInteger(type)) {
        return static_cast<double>(value);
    }
    return value < 0 ? nlohmann::json(static_cast<int64_t>(value))
                     : nlohmann::json(static_cast<uint64_t>(value));
}

}  // namespace

OutputSummary OutputSummary::of(const TensorShape& shape, const uint8_t* data) {
    OutputSummary summary;
    summary.shape = shape;
    const size_t count = shape.elements();
    long double sum = 0;
    for (size_t i = 0; i < count; ++i) {
        const long double value = valueAt(shape.type, data + i * sizeOf(shape.type));
        if (i == 0 || value < summary.min || std::isnan(value)) {
            summary.min = value;
        }
        if (i == 0 || value > summary.max || std::isnan(value)) {
            summary.max = value;
        }
        sum += value;
        if (i < kFirstValues) {
            summary.first.push_back(value);
        }
    }
    summary.mean = count == 0 ? 0 : sum / static_cast<long double>(count);
    return summary;
}

std::string OutputSummary::text() const {
    std::string text = (shape.name.empty() ? "output" : shape.name) + " " + nameOf(shape.type) +
                       " " + shape.text();
    if (shape.elements() == 0) {
        return text + ": empty";
    }
    text += ": min " + textOf(shape.type, min) + ", max " + textOf(shape.type, max) + ", mean " +
            textOf(ElementType::kFloat64, mean) + ", first";
    for (const long double value : first) {
        text += " " + textOf(shape.type, value);
    }
    return text + (shape.elements() > first.size() ? " …" : "");
}

nlohmann::json OutputSummary::json() const {
    nlohmann::json values = nlohmann::json::array();
    for (const long double value : first) {
        values.push_back(jsonOf(shape.type, value));
    }
    return {{"name", shape.name},
            {"type", nameOf(shape.type)},
            {"shape", shape.dims},
            {"min", jsonOf(shape.type, min)},
            {"max", jsonOf(shape.type, max)},
            {"mean", static_cast<double>(mean)},
            {"first", values}};
}

}  // namespace orva::client
