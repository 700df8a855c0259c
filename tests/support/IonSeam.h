/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include "support/Seam.h"

namespace orva::test {

// While it lives, uname() tells of a kernel of this release, and the kernel synchronises every
// descriptor as if it were a dma-buf; buffers still come from the host's own ION. One at a time.
// The calls are noted as:
//   "uname", "ion_open", "ion_alloc LENGTH ALIGN MASK FLAGS", "ion_alloc_fd …", "ion_share HANDLE",
//   "sync FLAGS", "ion_free HANDLE", "ion_close", "native_handle_close"
class Kernel {
public:
    // The text must outlive this object.
    explicit Kernel(const char* release);
    ~Kernel();
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;
};

}  // namespace orva::test
