/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <onnxruntime_cxx_api.h>

namespace orva_bench {

// The engine on one model of floats, as a program of its own would call it, with one thread.
class Engine {
public:
    // The tensors of one side, in the model's order.
    struct Side {
        std::vector<std::string> names;
        std::vector<std::vector<int64_t>> shapes;

        // Bytes, of each.
        std::vector<size_t> sizes() const;
        // Over memory of these sizes, which must outlive them.
        std::vector<Ort::Value> over(const std::vector<void*>& memory) const;
        // Over memory of their own, filled with zeros.
        std::vector<Ort::Value> zeros() const;
    };

    // Throws std::runtime_error for tensors that are not of floats, Ort::Exception for a model that
    // the engine does not take.
    explicit Engine(const std::string& path);

    const Side& inputs() const { return inputs_; }
    const Side& outputs() const { return outputs_; }
    void run(const std::vector<Ort::Value>& inputs, std::vector<Ort::Value>& outputs);

private:
    Ort::Env env_;
    Ort::Session session_{nullptr};
    Side inputs_, outputs_;
};

}  // namespace orva_bench
