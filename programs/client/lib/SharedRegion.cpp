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
#include <ion/ion.h>
#include <sys/mman.h>
#include <unistd.h>

#include "transport/IonMapLength.h"

namespace orva::client {

using android::base::unique_fd;
using android::hardware::hidl_handle;
using android::hardware::hidl_memory;

namespace {

constexpr char kMemoryName[] = "ashmem";
constexpr unsigned int kIonHeaps = 1;
constexpr unsigned int kIonFlags = 0;

unique_fd makeRegion(const std::string& name, size_t size) {
    unique_fd fd(ashmem_create_region(name.c_str(), size));
    if (fd < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot make a shared region");
    }
    return fd;
}

unique_fd makeIonBuffer(size_t length) {
    const int device = ion_open();
    if (device < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot open ION");
    }
    int buffer = -1;
    const int error = ion_alloc_fd(device, length, 0, kIonHeaps, kIonFlags, &buffer);
    ion_close(device);
    if (error != 0) {
        throw std::system_error(-error, std::generic_category(), "cannot make an ION buffer");
    }
    return unique_fd(buffer);
}

unique_fd duplicate(const hidl_memory& memory) {
    const native_handle_t* received = memory.handle();
    if (received == nullptr || received->numFds < 1) {
        throw std::runtime_error("the service sent a tensor without memory");
    }
    // A memory file and a dma-buf alike end where they end; only the first has a size in fstat().
    const off64_t length = lseek64(received->data[0], 0, SEEK_END);
    if (length < 0 || static_cast<uint64_t>(length) < memory.size()) {
        throw std::runtime_error("the service sent a tensor that is shorter than it says");
    }
    return unique_fd(fcntl(received->data[0], F_DUPFD_CLOEXEC, 0));
}

}  // namespace

SharedRegion::SharedRegion(unique_fd fd, size_t size, size_t length)
        : size_(size), length_(length), handle_(native_handle_create(1, 0)) {
    handle_->data[0] = fd.release();
}

SharedRegion::SharedRegion(const std::string& name, size_t size)
        : SharedRegion(makeRegion(name, size), size, size) {
    data();
}

SharedRegion SharedRegion::ofIon(size_t size) {
    const uint64_t length = hidl::IonMapLength(size);
    SharedRegion region(makeIonBuffer(length), size, length);
    region.data();
    return region;
}

SharedRegion::SharedRegion(const hidl_memory& memory)
        : SharedRegion(duplicate(memory), memory.size(), memory.size()) {}

SharedRegion::~SharedRegion() {
    if (address_ != nullptr) {
        munmap(address_, length_);
    }
    if (handle_ != nullptr) {
        native_handle_close(handle_);
        native_handle_delete(handle_);
    }
}

SharedRegion::SharedRegion(SharedRegion&& other) noexcept
        : size_(other.size_),
          length_(other.length_),
          address_(std::exchange(other.address_, nullptr)),
          handle_(std::exchange(other.handle_, nullptr)) {}

uint8_t* SharedRegion::data() const {
    if (address_ == nullptr) {
        void* const address =
                mmap(nullptr, length_, PROT_READ | PROT_WRITE, MAP_SHARED, handle_->data[0], 0);
        if (address == MAP_FAILED) {
            throw std::system_error(errno, std::generic_category(), "cannot map a shared region");
        }
        address_ = address;
    }
    return static_cast<uint8_t*>(address_);
}

bool SharedRegion::read(void* to, size_t size) const {
    return pread(handle_->data[0], to, size, 0) == static_cast<ssize_t>(size);
}

hidl_memory SharedRegion::memory() const {
    return hidl_memory(kMemoryName, handle_, size_);
}
hidl_handle SharedRegion::handle() const {
    return hidl_handle(handle_);
}

}  // namespace orva::client
