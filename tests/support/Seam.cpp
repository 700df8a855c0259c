/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "support/Seam.h"

#include <cutils/native_handle.h>
#include <ion/ion.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/utsname.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sstream>

#include "support/LogCapture.h"

namespace orva::test {

namespace {

std::atomic<Call> failing{Call::None};
std::atomic<size_t> callsToFailure{0};
const char* kernelRelease = nullptr;

bool Fails(Call call) {
    return call == failing && callsToFailure != 0 && --callsToFailure == 0;
}

template <typename... Words>
void Trace(const char* name, Words... words) {
    // Not by default, and then without a lock: the mappings of many threads pass here.
    if (CallTrace::lives) {
        std::ostringstream text;
        text << name;
        ((text << " " << words), ...);
        Note(text.str());
    }
}

}  // namespace

Fault::Fault(Call call, size_t nth) {
    if (failing != Call::None) {
        abort();
    }
    callsToFailure = nth;
    failing = call;
}

Fault::~Fault() {
    failing = Call::None;
}

bool Fault::Happened() const {
    return callsToFailure == 0;
}

Kernel::Kernel(const char* release) {
    kernelRelease = release;
}

Kernel::~Kernel() {
    kernelRelease = nullptr;
}

}  // namespace orva::test

using namespace orva::test;

// The linker sends each call of NAME to __wrap_NAME (see CMakeLists.txt), which takes the steps
// given last before it goes on to the platform's own, __real_NAME.
#define SEAM(TYPE, NAME, PARAMETERS, ARGUMENTS, ...) \
    TYPE __real_##NAME PARAMETERS;                   \
    TYPE __wrap_##NAME PARAMETERS {                  \
        __VA_ARGS__;                                 \
        return __real_##NAME ARGUMENTS;              \
    }
#define FAIL_WITH(CALL, RESULT) \
    if (Fails(Call::CALL)) {    \
        return RESULT;          \
    }

extern "C" {

SEAM(void*, mmap, (void* address, size_t length, int access, int flags, int fd, off_t offset),
     (address, length, access, flags, fd, offset), Trace("mmap", length);
     FAIL_WITH(Mmap, MAP_FAILED))
SEAM(int, munmap, (void* address, size_t length), (address, length), Trace("munmap", length))
SEAM(
        long, syscall, (long number, long a, long b, long c, long d, long e),
        (number, a, b, c, d, e), if (Fails(Call::SystemCall)) {
            errno = ENOSYS;
            return -1;
        })
SEAM(ssize_t, pread, (int fd, void* data, size_t size, off_t offset), (fd, data, size, offset),
     FAIL_WITH(FileAccess, -1))
SEAM(ssize_t, pwrite, (int fd, const void* data, size_t size, off_t offset),
     (fd, data, size, offset), FAIL_WITH(FileAccess, -1))
int __real_fstat(int fd, struct stat* status);
int __wrap_fstat(int fd, struct stat* status) {
    const int result = __real_fstat(fd, status);
    if (FullRegions::lives) {
        status->st_blocks = status->st_size / 512 + 1;
    }
    return result;
}
SEAM(int, ashmem_create_region, (const char* name, size_t size), (name, size),
     Trace("ashmem_create_region", name, size);
     FAIL_WITH(CreateRegion, -1))
SEAM(native_handle_t*, native_handle_create, (int numFds, int numInts), (numFds, numInts),
     FAIL_WITH(CreateHandle, nullptr);
     numFds = Fails(Call::EmptyHandle) ? 0 : numFds)
SEAM(int, native_handle_close, (const native_handle_t* handle), (handle),
     Trace("native_handle_close"))
SEAM(void*, _ZnwmRKSt9nothrow_t, (size_t size, const std::nothrow_t& tag), (size, tag),
     FAIL_WITH(NothrowNew, nullptr))
SEAM(int, _memcpy_s_chk,
     (void* dest, size_t room, const void* src, size_t count, size_t destSize, size_t srcSize),
     (dest, room, src, count, destSize, srcSize), FAIL_WITH(CopyMemory, EINVAL))
SEAM(int, _memset_s_chk, (void* dest, size_t room, int value, size_t count, size_t destSize),
     (dest, room, value, count, destSize), FAIL_WITH(ClearMemory, EINVAL))

SEAM(
        int, uname, (utsname * record), (record), Trace("uname"); FAIL_WITH(Uname, -1);
        if (kernelRelease != nullptr) {
            strncpy(record->release, kernelRelease, sizeof(record->release) - 1);
            return 0;
        })
SEAM(
        int, ioctl, (int fd, unsigned long request, uint64_t* flags), (fd, request, flags),
        // The number itself, as every kernel since ION has it.
        if (request == 0x40086200) {
            Trace("sync", *flags);
            FAIL_WITH(DmaBufSync, -1);
            if (kernelRelease != nullptr) {
                return 0;
            }
        })
SEAM(int, ion_open, (), (), Trace("ion_open"); FAIL_WITH(IonOpen, -1))
SEAM(int, ion_close, (int fd), (fd), Trace("ion_close"))
SEAM(int, ion_alloc,
     (int fd, size_t length, size_t align, unsigned mask, unsigned flags, ion_user_handle_t* made),
     (fd, length, align, mask, flags, made), Trace("ion_alloc", length, align, mask, flags);
     FAIL_WITH(IonAlloc, -ENOMEM))
SEAM(int, ion_alloc_fd,
     (int fd, size_t length, size_t align, unsigned mask, unsigned flags, int* made),
     (fd, length, align, mask, flags, made), Trace("ion_alloc_fd", length, align, mask, flags);
     FAIL_WITH(IonAllocFd, -ENOMEM))
SEAM(int, ion_share, (int fd, ion_user_handle_t handle, int* made), (fd, handle, made),
     Trace("ion_share", handle);
     FAIL_WITH(IonShare, -EMFILE))
SEAM(int, ion_free, (int fd, ion_user_handle_t handle), (fd, handle), Trace("ion_free", handle))

}  // extern "C"
