/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/Mutex.h"
#include "common/UniqueFd.h"

namespace orva::hidl {

// One process that clients run in: what it has mapped here, with the bounds of that, and whether it
// is still there. Its sessions, listeners and mappings share the object, which goes with the last
// of them. A process that gets the number of one that is gone is another one. Every operation may
// be called from any thread.
class ClientProcess : public std::enable_shared_from_this<ClientProcess> {
public:
    // What a process may have mapped here at a time, in bytes. A region can be as long as its maker
    // says without having memory behind it, and the address space is everybody's (2^39 bytes on
    // some devices) ...
    static constexpr uint64_t kMostMapped = uint64_t{1} << 35;
    // ... and bytes that a region does not really hold are paid for by whoever touches them first,
    // which is this process. More than the largest build's region.
    static constexpr uint64_t kMostHollow = uint64_t{256} << 20;

    // Regions of clients that are mapped. Unit of all but the first: bytes.
    struct Memory {
        uint64_t mappings, mapped, hollow;
    };

    // The process whose call this thread serves; this one itself where it serves none.
    static std::shared_ptr<ClientProcess> Calling();
    // Looks which have ended, also those that nobody has waited for yet: true when any that has
    // holds something here. One system call where the kernel has descriptors of processes.
    static bool LookForEnded();
    // All that hold something here.
    static std::vector<std::shared_ptr<ClientProcess>> All();

    // Calling() makes them.
    explicit ClientProcess(int32_t pid);
    ~ClientProcess();
    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    // 0 where the platform does not tell (oneway calls); that one never ends.
    int32_t Pid() const { return pid_; }
    // As LookForEnded() has found it last.
    bool HasEnded() const { return hasEnded_; }
    Memory Mapped() const;

    // Counts a mapping of `length` bytes, of which the region lacks `hollow`. False, and nothing
    // counted but the refusal, beyond a bound.
    bool CountMapping(uint64_t length, uint64_t hollow);
    void ForgetMapping(uint64_t length, uint64_t hollow);

private:
    const int32_t pid_;
    const UniqueFd descriptor_;  // of the process; none where the kernel has no such
    std::atomic<bool> hasEnded_{false};

    mutable Mutex mutex_;
    Memory memory_ ORVA_GUARDED_BY(mutex_) = {};
};

// What a process runs, as it says itself; empty where the kernel does not tell.
std::string ProgramOf(int32_t pid);

}  // namespace orva::hidl
