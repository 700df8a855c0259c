/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>

namespace orva::test {

// Calls across the platform's edge that a test can make fail. Only calls made by objects of the
// test program itself go through here, that is by the test and by what it is a test of.
enum class Call {  // NOLINTBEGIN(readability-identifier-naming): named as what they call
    Mmap,          // mmap(): MAP_FAILED
    CreateRegion,  // ashmem_create_region(): -1
    CreateHandle,  // native_handle_create(): null
    EmptyHandle,   // native_handle_create(): a handle without descriptors
    NothrowNew,    // operator new(size_t, nothrow): null
    CopyMemory,    // memcpy_s(): nonzero
    ClearMemory,   // memset_s(): nonzero
    Uname,         // uname(): -1
    IonOpen,       // ion_open(): -1
    IonAlloc,      // ion_alloc(): -ENOMEM
    IonAllocFd,    // ion_alloc_fd(): -ENOMEM
    IonShare,      // ion_share(): -EMFILE
    DmaBufSync,    // ioctl(DMA_BUF_IOCTL_SYNC): -1
    SystemCall,    // syscall(): -1, ENOSYS
    None,          // nothing fails
};                 // NOLINTEND(readability-identifier-naming)

// While it lives, the n-th call from now on (from 1; of any thread) fails. One at a time.
class Fault {
public:
    explicit Fault(Call call, size_t nth = 1);
    ~Fault();
    Fault(const Fault&) = delete;
    Fault& operator=(const Fault&) = delete;

    // Whether the call came, and so failed.
    bool Happened() const;
};

// While it lives, calls are noted in the log that is captured, each with the arguments that matter:
//   "ashmem_create_region NAME LENGTH", "mmap LENGTH", "munmap LENGTH", "native_handle_close",
//   "uname", "ion_open", "ion_alloc LENGTH ALIGN MASK FLAGS", "ion_alloc_fd …", "ion_share HANDLE",
//   "sync FLAGS", "ion_free HANDLE", "ion_close"
// One at a time.
class CallTrace {
public:
    CallTrace();
    ~CallTrace();
    CallTrace(const CallTrace&) = delete;
    CallTrace& operator=(const CallTrace&) = delete;
};

// While it lives, every region is said to hold all of its memory already. One at a time.
class FullRegions {
public:
    FullRegions();
    ~FullRegions();
    FullRegions(const FullRegions&) = delete;
    FullRegions& operator=(const FullRegions&) = delete;
};

// While it lives, uname() tells of a kernel of this release, and the kernel synchronises every
// descriptor as if it were a dma-buf; buffers still come from the host's own ION. Nothing changes
// where the text, which must outlive this object, is null. One at a time.
class Kernel {
public:
    explicit Kernel(const char* release);
    ~Kernel();
    Kernel(const Kernel&) = delete;
    Kernel& operator=(const Kernel&) = delete;
};

}  // namespace orva::test
