/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include "client/io/Picture.h"

namespace orva::client {

// How a camera was held, by the Exif record of a JPEG file: 1 to 8, and 1, upright, when the file
// does not say.
int exifOrientation(const uint8_t* file, size_t size);

// The picture as it was seen through that camera.
Pixels upright(const Pixels& picture, int orientation);

}  // namespace orva::client
