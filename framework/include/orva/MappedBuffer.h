/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

namespace orva {

// A region that is mapped into this process, readable and writable: a source model, or the place
// that a built model is written to. Null and 0 where a client gave no region. Whoever handed it
// out unmaps it, as soon as the call that it was handed to has returned.
//
// A client shares the bytes and can change them meanwhile, so what must stay the same is read once,
// into a private copy.
struct MappedBuffer {
    void* address = nullptr;
    uint32_t length = 0;  // bytes
};

}  // namespace orva
