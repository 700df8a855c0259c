/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <map>
#include <string>

#include "onnx/WireReader.h"

namespace orva::reference {

// What the file says of a value that nodes may use.
struct ValueFacts {
    // How many dimensions it has; -1 when that is not known.
    int rank = -1;
    // Its elements stand in the file.
    bool constant = false;
    // A node makes it.
    bool computed = false;
};
using KnownValues = std::map<std::string, ValueFacts>;

// Checks what the engine takes on trust in a node: that its inputs exist and are enough for its
// operator, that the tensors inside it are whole, and that windows and strides are positive and of
// the data's number of dimensions. Adds what the node makes to `values`, or gives the reason for
// which it is refused.
bool CheckNode(ByteRange bytes, KnownValues& values, std::string& reason);

}  // namespace orva::reference
