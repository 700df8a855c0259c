/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <map>
#include <string>
#include <vector>

#include <orva/reference/BufferView.h>
#include "onnx/EngineTensor.h"

namespace orva::reference {

// What a client has said of the dimensions that a model leaves open, in the parameters of a
// session's configuration or of a request's context:
//   shape:INPUT     an input's dimensions, as 1x3x480x640
//   dimension:NAME  the size of each dimension that the model gives that name
struct ShapeChoices {
    std::map<std::string, Dims> shapes;
    std::map<std::string, int64_t> dimensions;

    // Adds those among the parameters, in place of earlier ones. Throws std::runtime_error, naming
    // the parameter, when one is malformed.
    void Add(const std::map<std::string, std::string>& parameters);
};

// The dimensions of a request's tensors. An output's are open where only the run will tell.
struct RequestShapes {
    std::vector<Dims> inputs;
    std::vector<Dims> outputs;
};

// Settles every dimension that the model leaves open: by what was chosen, by the same name
// elsewhere, by the number of elements where one dimension alone is missing, or by the tensor's
// record where it agrees with all that the model says. Throws std::runtime_error, naming input and
// dimension, when one stays open or something contradicts.
RequestShapes SettleShapes(const std::vector<EngineTensor>& inputs,
                           const std::vector<EngineTensor>& outputs,
                           const std::vector<BufferView>& buffers, const ShapeChoices& choices);

}  // namespace orva::reference
