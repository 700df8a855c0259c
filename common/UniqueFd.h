/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <unistd.h>

#include <utility>

namespace orva::hidl {

// Owns a descriptor, or a negative value where there is none.
class UniqueFd {
public:
    explicit UniqueFd(int fd = -1) : fd_(fd) {}
    ~UniqueFd() {
        if (fd_ >= 0) {
            close(fd_);
        }
    }
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.Release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        UniqueFd old(std::exchange(fd_, other.Release()));
        return *this;
    }

    int Get() const { return fd_; }
    // Hands the descriptor over; this object owns none afterwards.
    int Release() { return std::exchange(fd_, -1); }

private:
    int fd_;
};

}  // namespace orva::hidl
