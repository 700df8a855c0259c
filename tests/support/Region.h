/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cutils/native_handle.h>
#include <hidl/HidlSupport.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "common/UniqueFd.h"

namespace orva::test {

// A native handle over one descriptor, such as a client sends; it owns the descriptor. The counts
// in it can be falsified.
class Handle {
public:
    explicit Handle(hidl::UniqueFd fd) : fd_(std::move(fd)) {
        native_handle_init(storage_, 1, 0)->data[0] = fd_.Get();
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    int Fd() const { return fd_.Get(); }
    native_handle_t* Get() { return reinterpret_cast<native_handle_t*>(storage_); }
    // A memory that refers to this handle and claims to be `size` bytes long.
    android::hardware::hidl_memory Memory(uint64_t size) { return {"ashmem", Get(), size}; }

private:
    hidl::UniqueFd fd_;
    alignas(native_handle_t) char storage_[sizeof(native_handle_t) + sizeof(int)];
};

// A client's shared-memory region.
class Region : public Handle {
public:
    explicit Region(uint64_t size) : Handle(hidl::UniqueFd(memfd_create("client", MFD_CLOEXEC))) {
        if (ftruncate(Fd(), static_cast<off_t>(size)) != 0) {
            abort();
        }
    }

    template <typename T>
    void Write(const std::vector<T>& values) {
        const size_t bytes = values.size() * sizeof(T);
        if (pwrite(Fd(), values.data(), bytes, 0) != static_cast<ssize_t>(bytes)) {
            abort();
        }
    }
};

// Reads what a region holds from its start.
template <typename T>
std::vector<T> ReadRegion(int fd, size_t count) {
    std::vector<T> values(count);
    const ssize_t read = pread(fd, values.data(), count * sizeof(T), 0);
    values.resize(read > 0 ? static_cast<size_t>(read) / sizeof(T) : 0);
    return values;
}

}  // namespace orva::test
