/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>

namespace orva_platform {

// A peer can shrink a region after this process has mapped it, and what is gone raises SIGBUS when
// it is touched. From this call on the toucher finds zeros there instead, in this process only, and
// one line on stderr says so; every other SIGBUS stays what it was. For the whole process, once.
void surviveShrunkenRegions();

// How often that has happened.
size_t shrunkenRegions();

}  // namespace orva_platform
