/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "support/IonSeam.h"

#include <cutils/native_handle.h>
#include <ion/ion.h>
#include <linux/dma-buf.h>
#include <sys/utsname.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <sstream>

namespace orva::test {

namespace {

const char* kernelRelease = nullptr;

std::string Allocation(const char* name, size_t length, size_t align, unsigned int mask,
                       unsigned int flags) {
    std::ostringstream text;
    text << name << " " << length << " " << align << " " << mask << " 0x" << std::hex << flags;
    return text.str();
}

}  // namespace

Kernel::Kernel(const char* release) {
    kernelRelease = release;
}

Kernel::~Kernel() {
    kernelRelease = nullptr;
}

}  // namespace orva::test

using orva::test::Call;
using orva::test::Fails;
using orva::test::Note;

extern "C" {

int __real_uname(utsname* record);
int __real_ioctl(int fd, unsigned long request, ...);
int __real_ion_open();
int __real_ion_close(int fd);
int __real_ion_alloc(int fd, size_t length, size_t align, unsigned int mask, unsigned int flags,
                     ion_user_handle_t* handle);
int __real_ion_alloc_fd(int fd, size_t length, size_t align, unsigned int mask, unsigned int flags,
                        int* buffer);
int __real_ion_share(int fd, ion_user_handle_t handle, int* buffer);
int __real_ion_free(int fd, ion_user_handle_t handle);
int __real_native_handle_close(const native_handle_t* handle);
int __real__memset_s_chk(void* dest, size_t destMax, int value, size_t count, size_t destObject);

int __wrap_uname(utsname* record) {
    Note("uname");
    if (Fails(Call::Uname)) {
        return -1;
    }
    const int result = __real_uname(record);
    if (orva::test::kernelRelease != nullptr) {
        strncpy(record->release, orva::test::kernelRelease, sizeof(record->release) - 1);
    }
    return result;
}

int __wrap_ioctl(int fd, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    // The number itself, as every kernel since ION has it.
    if (request != 0x40086200) {
        return __real_ioctl(fd, request, argument);
    }
    Note("sync " + std::to_string(*static_cast<const uint64_t*>(argument)));
    if (Fails(Call::DmaBufSync)) {
        return -1;
    }
    return orva::test::kernelRelease != nullptr ? 0 : __real_ioctl(fd, request, argument);
}

int __wrap_ion_open() {
    Note("ion_open");
    return Fails(Call::IonOpen) ? -1 : __real_ion_open();
}

int __wrap_ion_close(int fd) {
    Note("ion_close");
    return __real_ion_close(fd);
}

int __wrap_ion_alloc(int fd, size_t length, size_t align, unsigned int mask, unsigned int flags,
                     ion_user_handle_t* handle) {
    Note(orva::test::Allocation("ion_alloc", length, align, mask, flags));
    return Fails(Call::IonAlloc) ? -ENOMEM
                                 : __real_ion_alloc(fd, length, align, mask, flags, handle);
}

int __wrap_ion_alloc_fd(int fd, size_t length, size_t align, unsigned int mask, unsigned int flags,
                        int* buffer) {
    Note(orva::test::Allocation("ion_alloc_fd", length, align, mask, flags));
    return Fails(Call::IonAllocFd) ? -ENOMEM
                                   : __real_ion_alloc_fd(fd, length, align, mask, flags, buffer);
}

int __wrap_ion_share(int fd, ion_user_handle_t handle, int* buffer) {
    Note("ion_share " + std::to_string(handle));
    return Fails(Call::IonShare) ? -EMFILE : __real_ion_share(fd, handle, buffer);
}

int __wrap_ion_free(int fd, ion_user_handle_t handle) {
    Note("ion_free " + std::to_string(handle));
    return __real_ion_free(fd, handle);
}

int __wrap_native_handle_close(const native_handle_t* handle) {
    Note("native_handle_close");
    return __real_native_handle_close(handle);
}

int __wrap__memset_s_chk(void* dest, size_t destMax, int value, size_t count, size_t destObject) {
    return Fails(Call::ClearMemory) ? EINVAL
                                    : __real__memset_s_chk(dest, destMax, value, count, destObject);
}

}  // extern "C"
