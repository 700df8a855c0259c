/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>

#include <hidl/HidlSupport.h>

#include "common/NativeHandle.h"
#include "common/UniqueFd.h"

namespace orva::hidl {

// One of the two regions of a tensor: its handle, its size and where it comes from. Owns the
// handle, with the descriptors in it. Used by one thread at a time.
class TensorRegion {
public:
    // None, or one of the tensor's own that is still to be mapped; one of the tensor's own; a
    // peer's.
    enum class Origin { kNone, kOwn, kReceived };

    // Takes duplicates of what a peer sent: the region is received if that has a handle. Where they
    // cannot be made it is received all the same, but there is nothing to map.
    void Receive(const android::hardware::hidl_memory& memory);
    // Takes the descriptor of a new region, which may be negative, in place of what was held. False
    // when memory ran out; the descriptor is then closed. None until MakeOwn().
    bool Adopt(UniqueFd fd);
    // The region adopted last is the tensor's own from here on. Size in bytes.
    void MakeOwn(uint64_t size);

    bool IsReceived() const { return origin_ == Origin::kReceived; }
    // A peer's handle that has no descriptors.
    bool IsReceivedEmpty() const { return IsReceived() && handle_ != nullptr && IsEmpty(); }
    // Whether the handle that is held has no descriptors.
    bool IsEmpty() const { return handle_->numFds <= 0; }

    // Null where there is no region. Valid until the next change of this object.
    const native_handle_t* handle() const {
        return origin_ == Origin::kNone ? nullptr : handle_.get();
    }
    uint64_t size() const { return size_; }
    const android::hardware::hidl_string& name() const { return name_; }

    // Describes the region by duplicates of its descriptors, which are the memory's own. Without a
    // handle where there is no region, or where they cannot be made.
    void CopyTo(android::hardware::hidl_memory& memory) const;

private:
    NativeHandle handle_;
    Origin origin_ = Origin::kNone;
    uint64_t size_ = 0;
    android::hardware::hidl_string name_;
};

}  // namespace orva::hidl
