/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace orva_bench {

struct InferenceSettings {
    std::string model;  // an ONNX file of floats, with no dimension left open
    uint32_t rounds;
    uint32_t requests;  // in a round, of each client
    size_t products;    // that the long model is made of; 0 leaves it out
    std::string folder;
};

// What a request takes beside the engine called in one process, on the same model with one thread
// each, rounds taking turns. Medians of the rounds; ratios are the medians of neighbouring rounds'.
struct Through {
    double us;
    double ratio;
    // Requests a second of four clients at once by those of two threads on the bare engine; 0 where
    // that is not measured.
    double throughputRatio;
};

struct InferenceRow {
    std::string what;
    double directUs;
    // With only the system calls that cannot be done without.
    Through floor;
    Through services;
    // The services without the bare engine's rounds in between, which leave their caches cold: what
    // a client sees that has the machine to itself.
    double aloneUs;
};

// Hands out each row as soon as it is there. Throws when a process fails.
void runInferenceBench(const InferenceSettings& settings,
                       const std::function<void(const InferenceRow&)>& report);

// Prints rows as a table, or as one JSON document at the end.
class InferenceReport {
public:
    explicit InferenceReport(bool json) : json_(json) {}

    void begin() const;
    void add(const InferenceRow& row);
    void end() const;

private:
    const bool json_;
    std::vector<InferenceRow> rows_;
};

}  // namespace orva_bench
