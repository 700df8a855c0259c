/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orva::test {

// Calls across the platform's edge that a test can count and make fail. Only calls made by objects
// of the test program itself go through here, that is by the test and by what it is a test of.
enum class Call {
    Mmap,          // mmap(): MAP_FAILED
    Munmap,        // counted only
    CreateRegion,  // ashmem_create_region(): -1
    CreateHandle,  // native_handle_create(): null
    EmptyHandle,   // native_handle_create(): a handle without descriptors
    NothrowNew,    // operator new(size_t, nothrow): null
    CopyMemory,    // memcpy_s(): nonzero
    // Those of the ION tensor, where IonSeam.h is linked.
    ClearMemory,  // memset_s(): nonzero
    Uname,        // uname(): -1
    IonOpen,      // ion_open(): -1
    IonAlloc,     // ion_alloc(): -ENOMEM
    IonAllocFd,   // ion_alloc_fd(): -ENOMEM
    IonShare,     // ion_share(): -EMFILE
    DmaBufSync,   // ioctl(DMA_BUF_IOCTL_SYNC): -1
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

// While it lives, mappings, the end of native handles and the calls of the ION tensor are noted in
// order, each with the arguments that matter: "mmap 4096". One at a time.
class CallTrace {
public:
    CallTrace();
    ~CallTrace();
    CallTrace(const CallTrace&) = delete;
    CallTrace& operator=(const CallTrace&) = delete;

    // Takes out what has been noted so far.
    std::vector<std::string> Take();
};

// For the stand-ins themselves.
bool Fails(Call call);
void Note(const std::string& call);

}  // namespace orva::test
