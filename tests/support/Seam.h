/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
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
    FileAccess,    // pread(), pwrite(): -1
    None,          // nothing fails
};                 // NOLINTEND(readability-identifier-naming)

// What holds while it lives, one of a kind at a time.
template <typename Kind>
struct Meanwhile {
    Meanwhile() { lives = true; }
    ~Meanwhile() { lives = false; }
    Meanwhile(const Meanwhile&) = delete;
    Meanwhile& operator=(const Meanwhile&) = delete;

    static inline std::atomic<bool> lives{false};
};

// The n-th call from now on (from 1; of any thread) fails.
class Fault : Meanwhile<Fault> {
public:
    explicit Fault(Call call, size_t nth = 1);
    ~Fault();

    // Whether the call came, and so failed.
    bool Happened() const;
};

// Calls are noted in the log that is captured, each with the arguments that matter:
//   "ashmem_create_region NAME LENGTH", "mmap LENGTH", "munmap LENGTH", "native_handle_close",
//   "uname", "ion_open", "ion_alloc LENGTH ALIGN MASK FLAGS", "ion_alloc_fd …", "ion_share HANDLE",
//   "sync FLAGS", "ion_free HANDLE", "ion_close"
struct CallTrace : Meanwhile<CallTrace> {};

// Every region is said to hold all of its memory already.
struct FullRegions : Meanwhile<FullRegions> {};

// uname() tells of a kernel of this release, and the kernel synchronises every descriptor as if it
// were a dma-buf; buffers still come from the host's own ION. Nothing changes where the text, which
// must outlive this object, is null.
struct Kernel : Meanwhile<Kernel> {
    explicit Kernel(const char* release);
    ~Kernel();
};

}  // namespace orva::test
