/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/TensorRegion.h"

#include <utility>

namespace orva::hidl {

using android::hardware::hidl_handle;
using android::hardware::hidl_memory;

void TensorRegion::Receive(const hidl_memory& memory) {
    handle_ = DuplicateHandle(memory.handle());
    origin_ = memory.handle() != nullptr ? Origin::kReceived : Origin::kNone;
    size_ = memory.size();
    name_ = memory.name();
}

bool TensorRegion::Adopt(UniqueFd fd) {
    origin_ = Origin::kNone;
    // What was held goes first.
    handle_.reset();
    handle_ = AdoptDescriptor(std::move(fd));
    return handle_ != nullptr;
}

void TensorRegion::MakeOwn(uint64_t size) {
    origin_ = Origin::kOwn;
    size_ = size;
    name_.setToExternal("ashmem", 6);
}

void TensorRegion::CopyTo(hidl_memory& memory) const {
    // Assigning a memory would duplicate them, too, but such that a child process inherits them,
    // and a platform may abort when it can make none.
    hidl_handle owner;
    owner.setTo(DuplicateHandle(handle()).release(), true /* shouldOwn */);
    memory = hidl_memory(name_, std::move(owner), size_);
}

}  // namespace orva::hidl
