/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <orva/reference/BufferView.h>
#include <orva/reference/Cancellation.h>

#include "onnx/EngineGuard.h"
#include "onnx/EngineMemory.h"
#include "onnx/EngineTensor.h"
#include "onnx/Environment.h"
#include "onnx/RequestShapes.h"
#include "onnx/WireReader.h"

namespace orva::reference {

// What becomes of the bytes that a client gives for a float input: value * scale + bias.
struct ByteConversion {
    double scale = 1;
    double bias = 0;
};

// How a model is loaded.
struct EngineOptions {
    // Threads that a request runs on, its own among them, as far as the process has them to spare.
    size_t threads = 1;
    // Where to write what the engine has made of the model, to be loaded in its place; see
    // Optimise.
    std::string optimisedPath;
    // Sizes for dimensions that the model leaves open, by the names that it gives them.
    std::map<std::string, int64_t> dimensions;
};

// One loaded model. Its inputs and outputs keep the order of the model's graph. The operations that
// are const may be called from several threads at once.
class Engine {
public:
    // Throws a std::exception that says why when the model is refused. The engine's tensors count
    // to `memory` from here on, and so does the file, of which the engine keeps a copy.
    Engine(ByteRange file, const EngineOptions& options, Cancellation& cancellation,
           std::shared_ptr<EngineMemory> memory = DefaultMemory());
    ~Engine();
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    // Memory for the models of one session of the process whose call this thread serves: less than
    // 2 GiB.
    static std::shared_ptr<EngineMemory> DefaultMemory();

    // The name that the file gives the model; may be empty.
    const std::string& name() const { return name_; }

    const std::vector<EngineTensor>& inputs() const { return inputs_; }
    const std::vector<EngineTensor>& outputs() const { return outputs_; }

    // The dimensions of a request's tensors, if its buffers fit the model by number, type and size.
    // A tensor is a buffer of its own type and size; one of floats is also a byte buffer of as many
    // elements. An output whose dimensions only the run tells is a buffer of any size, and so is a
    // tensor without elements. Throws std::runtime_error, saying what does not fit.
    RequestShapes Settle(const std::vector<BufferView>& inputs,
                         const std::vector<BufferView>& outputs, const ShapeChoices& choices) const;

    // Runs the model on buffers that Settle has taken, and answers the dimensions that each output
    // has come to have. The engine works in the buffers themselves, but for
    // - bytes given or wanted for floats, which are converted;
    // - integers of 32 and 64 bits and bools, which operators check first and then go by, and all
    //   tensors of a model with an operator that goes through its numbers twice: a client could
    //   change them in between;
    // - outputs whose dimensions only the run tells.
    // Throws a std::exception when the engine fails, or an output does not fit its buffer.
    std::vector<Dims> Run(const std::vector<BufferView>& inputs,
                          const std::vector<BufferView>& outputs, const RequestShapes& shapes,
                          const ByteConversion& conversion, Ort::RunOptions& options) const;

private:
    // As EngineGuard::Run; false counts to the client.
    bool Guard(const std::function<void()>& work) const;
    void Describe();
    bool InPlace(const EngineTensor& tensor, const BufferView& buffer) const;
    Ort::Value InputValue(size_t i, const BufferView& buffer, const Dims& dims,
                          const ByteConversion& conversion) const;
    std::vector<Ort::Value> OutputValues(const std::vector<BufferView>& outputs,
                                         const RequestShapes& shapes, bool inPlace) const;

    // What the file takes, before all that counts to the same memory.
    const EngineShare file_;
    std::string name_;
    bool rereads_ = false;
    std::set<std::string> smallInputs_;
    EngineThreads threads_;
    mutable EngineGuard guard_;
    Ort::Session session_{nullptr};
    std::vector<EngineTensor> inputs_;
    std::vector<EngineTensor> outputs_;
    std::vector<const char*> inputNames_;
    std::vector<const char*> outputNames_;
    // Set once the model was seen to make other dimensions than it says.
    mutable std::atomic<bool> unreliable_{false};
    // Set once the guard had to step in.
    mutable std::atomic<bool> broken_{false};
};

// What the engine makes of a model before it knows the processor: an ONNX file, which loads faster,
// for this version of the engine alone. Throws as Engine does.
std::vector<uint8_t> Optimise(ByteRange file, Cancellation& cancellation);

}  // namespace orva::reference
