/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <orva/reference/BufferView.h>
#include <opencv2/dnn.hpp>

#include "onnx/EngineMemory.h"
#include "onnx/EngineTensor.h"
#include "onnx/WireReader.h"

namespace orva::reference {

// What becomes of the bytes that a client gives for a float input: value * scale + bias.
struct ByteConversion {
    double scale = 1;
    double bias = 0;
};

// One loaded model. Its inputs and outputs keep the order of the model's graph. Not to be used by
// two threads at once; the operations that are const may be.
class Engine {
public:
    // Reads a model file and runs it once on zeros, so that what the engine cannot do shows here.
    // Throws a std::exception that says why when the model is refused. Dimensions that the model
    // leaves open are 1. The engine's matrices count to `memory` from here on.
    explicit Engine(ByteRange file, std::shared_ptr<EngineMemory> memory = DefaultMemory());

    // Memory for the models of one session: less than 2 GiB.
    static std::shared_ptr<EngineMemory> DefaultMemory();

    // The name that the file gives the model; may be empty.
    const std::string& name() const { return name_; }

    const std::vector<EngineTensor>& inputs() const { return inputs_; }
    const std::vector<EngineTensor>& outputs() const { return outputs_; }

    // Whether buffers fit the model by number, type and size; the reason when they do not. A float
    // tensor is a float buffer, or a byte buffer of as many elements. A byte tensor is a byte
    // buffer.
    bool Accepts(const std::vector<BufferView>& inputs, const std::vector<BufferView>& outputs,
                 std::string& reason) const;

    // Runs the model on buffers that it accepts. Throws a std::exception when the engine fails.
    void Run(const std::vector<BufferView>& inputs, const std::vector<BufferView>& outputs,
             const ByteConversion& conversion);

private:
    void Forward(std::vector<cv::Mat>& results);

    // Before the matrices that count to it.
    const std::shared_ptr<EngineMemory> memory_;
    std::string name_;
    std::vector<EngineTensor> inputs_;
    std::vector<EngineTensor> outputs_;
    std::vector<cv::String> outputNames_;
    cv::dnn::Net net_;
};

}  // namespace orva::reference
