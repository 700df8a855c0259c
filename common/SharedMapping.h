/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include <cutils/native_handle.h>

namespace orva::hidl {

class ClientProcess;

// Why regions of clients were not mapped, since the process began. The log has one line for all
// of these. From any thread.
struct RefusedRegions {
    std::atomic<uint64_t> noMemory{0};      // no handle, no descriptor, or one of something else
    std::atomic<uint64_t> tooShort{0};      // than what was to be mapped
    std::atomic<uint64_t> clientMapped{0};  // ClientProcess::kMostMapped
    std::atomic<uint64_t> clientHollow{0};  // ClientProcess::kMostHollow
    std::atomic<uint64_t> byKernel{0};      // mmap() itself failed
};

inline RefusedRegions refusedRegions;

// An address range that shows a shared-memory region from its start, readable and writable.
// Unmaps on destruction exactly what it mapped. Used by one thread at a time.
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

    // Maps `length` bytes of the region behind the first descriptor of a handle that a peer sent,
    // which may end within the last page of them. No range, and one more of refusedRegions, on
    // failure: there is no descriptor, it is no memory (SharedRegion), the region is shorter, or
    // the calling client would have more mapped than one may (ClientProcess). The peer can still
    // change the bytes, so read what must stay the same just once.
    static SharedMapping MapReceived(const native_handle_t* handle, uint64_t length);

    explicit operator bool() const { return address_ != nullptr; }
    void* Address() const { return address_; }
    uint64_t Length() const { return length_; }

    // Unmaps; no range afterwards.
    void Reset();

private:
    void* address_ = nullptr;
    size_t length_ = 0;
    size_t unmapLength_ = 0;  // a region of huge pages is unmapped by such
    uint64_t hollow_ = 0;
    std::shared_ptr<ClientProcess> client_;  // whom a received region is counted to
};

}  // namespace orva::hidl
