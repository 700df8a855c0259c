/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

#include "onnx/WireReader.h"

namespace orva::reference {

// An attribute's number that the engine would use as it stands, for an index, a size or a count.
// `type` is the operator's. Throws std::runtime_error with the reason for which the model is
// refused; an attribute that cannot be read is not refused here.
void CheckNumber(const std::string& type, ByteRange attribute);

// Whether a number fits into 32 bits. Trilu writes beside its tensor where its diagonal does not.
inline bool IsSmall(int64_t number) {
    return number == static_cast<int32_t>(number);
}
// The same of all of a tensor's, or of what a node Constant makes; false of other nodes.
bool HasSmallNumbers(ByteRange tensor);
bool MakesSmallNumbers(ByteRange node);

}  // namespace orva::reference
