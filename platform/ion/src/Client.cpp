/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Client.h"

#include <cerrno>
#include <cstdint>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace orva_platform::ion {

using android::Mutex;

namespace {

// The only heap that a host has, system memory.
constexpr unsigned int kHeaps = 1u << 0;

}  // namespace

int Client::allocate(size_t length, size_t align, unsigned int heapMask, unique_fd* buffer) const {
    const auto page = static_cast<size_t>(getpagesize());
    if (length == 0 || length > SIZE_MAX - (page - 1) || align > page) {
        return -EINVAL;
    }
    if ((heapMask & kHeaps) == 0) {
        return -ENODEV;
    }
    return mBackend.allocate(mDevice, (length + page - 1) & ~(page - 1), buffer);
}

ion_user_handle_t Client::add(unique_fd buffer) {
    Mutex::Autolock lock(mLock);
    mBuffers.emplace(++mLast, std::move(buffer));
    return mLast;
}

int Client::share(ion_user_handle_t handle, unique_fd* buffer) {
    Mutex::Autolock lock(mLock);
    const auto found = mBuffers.find(handle);
    if (found == mBuffers.end()) {
        return -EINVAL;
    }
    buffer->reset(fcntl(found->second.get(), F_DUPFD_CLOEXEC, 0));
    return buffer->get() >= 0 ? 0 : -errno;
}

int Client::free(ion_user_handle_t handle) {
    Mutex::Autolock lock(mLock);
    return mBuffers.erase(handle) == 1 ? 0 : -EINVAL;
}

size_t Client::handles() {
    Mutex::Autolock lock(mLock);
    return mBuffers.size();
}

}  // namespace orva_platform::ion
