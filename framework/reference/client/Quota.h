/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>

namespace orva::reference {

// How much of one thing each client process may hold, and all together; 0 is without a bound. May
// be used from any thread.
class Quota {
public:
    // `what` is held, and `each` and `all` are the host's options for it, for people.
    constexpr Quota(const char* what, size_t each, const char* eachOption, size_t all = 0,
                    const char* allOption = "")
            : what_(what), eachOption_(eachOption), allOption_(allOption), each_(each), all_(all) {}
    Quota(const Quota&) = delete;
    Quota& operator=(const Quota&) = delete;

    void SetEach(size_t most) { each_ = most; }
    void SetAll(size_t most) { all_ = most; }
    size_t held() const { return held_; }

private:
    friend class Holding;

    const char* const what_;
    const char* const eachOption_;
    const char* const allOption_;
    std::atomic<size_t> each_;
    std::atomic<size_t> all_;
    std::atomic<size_t> held_{0};
};

// What one client process holds of it. May be used from any thread.
class Holding {
public:
    // `pid` is for the log; of process 0, who is nobody, only what all hold together is bounded.
    Holding(Quota& quota, pid_t pid) : quota_(quota), pid_(pid) {}
    ~Holding() { quota_.held_ -= held_; }
    Holding(const Holding&) = delete;
    Holding& operator=(const Holding&) = delete;

    // False, with a line in the log and nothing taken, when that would be more than may be.
    bool Take(size_t amount = 1);
    void Give(size_t amount = 1);
    size_t held() const { return held_; }

private:
    Quota& quota_;
    const pid_t pid_;
    std::atomic<size_t> held_{0};
};

}  // namespace orva::reference
