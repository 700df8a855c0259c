/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>

namespace orva::test {

// Calls across the platform's edge that a test can count and make fail. Only calls made by objects
// of the test program itself go through here, that is by the test and by what it is a test of.
enum class Call {
    Mmap,          // mmap(): MAP_FAILED with ENOMEM
    Munmap,        // counted only
    CreateRegion,  // ashmem_create_region(): -1
    CreateHandle,  // native_handle_create(): null
    EmptyHandle,   // native_handle_create(): a handle without descriptors
    NothrowNew,    // operator new(size_t, nothrow): null
    CopyMemory,    // memcpy_s(): nonzero
    Count_,
};

// How often a call was made since the program began.
size_t CallCount(Call call);

// While it lives, the n-th call from now on (from 1; of any thread) fails. One at a time for each
// kind of call.
class Fault {
public:
    explicit Fault(Call call, size_t nth = 1);
    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    // Whether the call came, and so failed.
    bool Happened() const;

private:
    const Call call_;
};

}  // namespace orva::test
