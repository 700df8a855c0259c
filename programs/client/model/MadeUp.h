/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include "client/model/TensorShape.h"

namespace orva::client {

// Fills a tensor that nobody gives with numbers that a model can do something with, the same each
// time: floats from 0 to 1, bytes of any value, and 0 or 1 where an element may be an index.
void makeUp(const TensorShape& shape, uint8_t* data);

}  // namespace orva::client
