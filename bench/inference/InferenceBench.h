/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

namespace orva_bench {

struct InferenceSettings {
    std::string model;  // an ONNX file of floats, with no dimension left open
    uint32_t rounds;
    uint32_t requests;  // in a round, of each client
    std::string folder;
};

// What a request takes through the services, beside the engine called in one process, on the same
// model with one thread each, rounds taking turns. Microseconds, medians of the rounds; the ratios
// are the medians of neighbouring rounds'.
struct InferenceResult {
    double directUs;
    double servicesUs;
    double ratio;
    // Requests a second of four clients at once by those of two threads on the bare engine.
    double throughputRatio;
};

// Throws when a process fails.
InferenceResult runInferenceBench(const InferenceSettings& settings);

void reportInference(const InferenceSettings& settings, const InferenceResult& result, bool json);

}  // namespace orva_bench
