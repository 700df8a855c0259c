/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include "client/lib/Session.h"
#include "client/model/TensorShape.h"

namespace orva::client {

// A model file in shared memory, with what it says of its own inputs and outputs.
class ModelFile {
public:
    // Throws std::runtime_error, naming the file, when it cannot be read or is no ONNX model with
    // tensors that can be sent.
    explicit ModelFile(const std::string& path);

    // Dimensions that the model leaves open are 1, as they are to the service.
    const std::vector<TensorShape>& inputs() const { return mInputs; }
    const std::vector<TensorShape>& outputs() const { return mOutputs; }
    size_t bytes() const { return mBytes; }

    // The model, for a session to load. Once.
    Model take() &&;

private:
    Model mModel;
    size_t mBytes;
    std::vector<TensorShape> mInputs;
    std::vector<TensorShape> mOutputs;
};

}  // namespace orva::client
