/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include <cutils/native_handle.h>

namespace orva::hidl {

// An address range that shows a shared-memory region from its start, readable and writable.
// Unmaps on destruction exactly what it mapped.
class SharedMapping {
public:
    // No range.
    SharedMapping() = default;
    ~SharedMapping() { Reset(); }
    SharedMapping(SharedMapping&& other) noexcept { *this = std::move(other); }
    SharedMapping& operator=(SharedMapping&& other) noexcept;

    // Maps a region that this process has just made `length` bytes long. No range on failure,
    // which includes a length of 0.
    static SharedMapping MapOwn(int fd, uint64_t length);

    // Maps `length` bytes of the region behind the first descriptor of a handle that a peer sent.
    // No range on failure; that a handle has no descriptor, that the descriptor is no memory, that
    // the kernel knows the region to be shorter than `length`, and that too much of the address
    // space would be mapped are failures, too. The peer can still change the bytes, so read what
    // must stay the same just once.
    static SharedMapping MapReceived(const native_handle_t* handle, uint64_t length);

    explicit operator bool() const { return address_ != nullptr; }
    void* Address() const { return address_; }
    uint64_t Length() const { return length_; }

    // Unmaps; no range afterwards.
    void Reset();

private:
    void* address_ = nullptr;
    size_t length_ = 0;
};

}  // namespace orva::hidl
