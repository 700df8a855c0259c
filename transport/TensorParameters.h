/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <orva/AINeuralNetworkBuffer.h>
#include <orva/AITensorDescription.h>

namespace orva::hidl {

// Copies the named parameters "number", "channel", "height", "width", "data_type" (signed) and
// "size" (unsigned, bytes) of a description into the tensor's fields; other names are ignored, and
// of a name that occurs twice the later value counts. The buffer pointer stays. False, and the
// tensor is unchanged, at the first value that is no number.
bool InitFromDescription(AINeuralNetworkBuffer& tensor, const AITensorDescription& description);

// Reads a whole text as one decimal 32-bit number; white space is allowed in front only. `out`
// means something only when the result is true.
bool ParseValue(const std::string& text, int& out);
bool ParseValue(const std::string& text, unsigned int& out);

}  // namespace orva::hidl
