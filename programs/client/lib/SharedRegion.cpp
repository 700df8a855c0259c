/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/SharedRegion.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <cutils/ashmem.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace orva::client {

using android::base::unique_fd;
using android::hardware::hidl_handle;
using android::hardware::hidl_memory;

namespace {

constexpr char kMemoryName[] = "ashmem";

}  // namespace

SharedRegion::SharedRegion(const std::string& name, size_t size) : mSize(size) {
    unique_fd fd(ashmem_create_region(name.c_str(), size));
    if (fd < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot make a shared region");
    }
    map(fd);
    mHandle = native_handle_create(1, 0);
    mHandle->data[0] = fd.release();
}

SharedRegion::SharedRegion(const hidl_memory& memory) : mSize(memory.size()) {
    const native_handle_t* received = memory.handle();
    if (received == nullptr || received->numFds < 1) {
        throw std::runtime_error("the service sent a tensor without memory");
    }
    struct stat info;
    if (fstat(received->data[0], &info) != 0 ||
        static_cast<uint64_t>(info.st_size) < memory.size()) {
        throw std::runtime_error("the service sent a tensor that is shorter than it says");
    }
    unique_fd fd(fcntl(received->data[0], F_DUPFD_CLOEXEC, 0));
    map(fd);
    mHandle = native_handle_create(1, 0);
    mHandle->data[0] = fd.release();
}

SharedRegion::~SharedRegion() {
    if (mAddress != nullptr) {
        munmap(mAddress, mSize);
    }
    if (mHandle != nullptr) {
        native_handle_close(mHandle);
        native_handle_delete(mHandle);
    }
}

SharedRegion::SharedRegion(SharedRegion&& other) noexcept
        : mSize(other.mSize),
          mAddress(std::exchange(other.mAddress, nullptr)),
          mHandle(std::exchange(other.mHandle, nullptr)) {}

void SharedRegion::map(int fd) {
    void* address = mmap(nullptr, mSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (address == MAP_FAILED) {
        throw std::system_error(errno, std::generic_category(), "cannot map a shared region");
    }
    mAddress = address;
}

hidl_memory SharedRegion::memory() const {
    return hidl_memory(kMemoryName, mHandle, mSize);
}
hidl_handle SharedRegion::handle() const {
    return hidl_handle(mHandle);
}

}  // namespace orva::client
