/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include "client/faces/FaceDecoder.h"
#include "client/io/Picture.h"

namespace orva::client {

// Draws a face's box with its score, and its key points. `face` is in pixels of the picture, and
// may reach beyond it.
void drawFace(Pixels* picture, const Face& face);

}  // namespace orva::client
