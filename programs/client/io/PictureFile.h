/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include "client/io/Picture.h"

namespace orva::client {

// Reads a PNG, JPEG or PPM (P6) picture, by its content; a JPEG as its Exif record would have it
// turned; what is transparent counts as opaque. Throws std::runtime_error, naming the file, when it
// is none of them, is damaged or has more than 2^28 pixels.
Pixels readPicture(const std::string& path);

// Throws std::runtime_error when writePicture cannot write a file of that name's ending: .png, .jpg
// or .ppm.
void requirePictureName(const std::string& path);

// The file has the whole picture, or is as it was. Throws std::runtime_error when it cannot be
// written.
void writePicture(const std::string& path, const Pixels& picture);

}  // namespace orva::client
