/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/Mutex.h"
#include "common/UniqueFd.h"

namespace orva::hidl {

class ClientProcess;
using ClientProcesses = std::vector<std::shared_ptr<ClientProcess>>;

// One process that clients run in: what it has mapped here, with the bounds of that, and whether it
// is still there. Its sessions, listeners and mappings share the object, which goes with the last
// of them. A process that gets the number of one that is gone is another one. Every operation may
// be called from any thread.
class ClientProcess {
public:
    // What a process may have mapped here at a time, in bytes. A region can be as long as its maker
    // says without having memory behind it, and the address space is everybody's (2^39 bytes on
    // some devices) ...
    static constexpr uint64_t kMostMapped = uint64_t{1} << 35;
    // ... and bytes that a region does not really hold are paid for by whoever touches them first,
    // which is this process. More than the largest build's region.
    static constexpr uint64_t kMostHollow = uint64_t{256} << 20;

    // The process whose call this thread serves; this one itself where it serves none.
    static std::shared_ptr<ClientProcess> Calling();
    // The same, for what must not outlast the process: its end is looked for from here on.
    static std::shared_ptr<ClientProcess> CallingWatched();
    // Those watched that have ended, also those that nobody has waited for yet, as long as anything
    // of theirs is held. One system call where the kernel has descriptors of processes.
    static ClientProcesses Ended();

    explicit ClientProcess(int32_t pid) : pid_(pid) {}
    ~ClientProcess();
    ClientProcess(const ClientProcess&) = delete;
    ClientProcess& operator=(const ClientProcess&) = delete;

    // 0 where the platform does not tell (oneway calls); that one never ends.
    int32_t Pid() const { return pid_; }

    // Counts a mapping of `length` bytes, of which the region lacks `hollow`. False, and nothing
    // counted but the refusal, beyond a bound.
    bool CountMapping(uint64_t length, uint64_t hollow);
    void ForgetMapping(uint64_t length, uint64_t hollow);

private:
    const int32_t pid_;
    // Both under the lock of the table of all processes.
    bool watched_ = false;
    UniqueFd descriptor_;  // of the process; none where the kernel has no such

    Mutex mutex_;
    uint64_t mapped_ ORVA_GUARDED_BY(mutex_) = 0;
    uint64_t hollow_ ORVA_GUARDED_BY(mutex_) = 0;
};

// The keys of what belongs to any of these processes, in a table whose values a
// ClientOf() knows.
template <typename Table>
std::vector<std::string> KeysOf(const ClientProcesses& clients, const Table& table) {
    std::vector<std::string> keys;
    for (const auto& [key, value] : table) {
        if (std::find(clients.begin(), clients.end(), ClientOf(value)) != clients.end()) {
            keys.push_back(key);
        }
    }
    return keys;
}

}  // namespace orva::hidl
