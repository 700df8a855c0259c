/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/ClientProcess.h"

#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <iterator>
#include <map>
#include <memory>
#include <vector>

#include <hwbinder/IPCThreadState.h>

#include "common/HeldResources.h"

namespace orva::hidl {

namespace {

// pidfd_open(), by the number that it has on every architecture: headers of older platforms lack
// it.
constexpr long kPidfdOpen = 434;

// In place of a descriptor; a kernel that has none leaves -1.
constexpr int kNotWatched = -2;

Mutex tableMutex;

// By number, of which the last is the one that calls may come from. Never destroyed: a client may
// let go when process exit has begun.
using ProcessTable = std::multimap<int32_t, std::weak_ptr<ClientProcess>>;
ProcessTable& Table() ORVA_REQUIRES(tableMutex) {
    static auto& table = *new ProcessTable;
    return table;
}

std::shared_ptr<ClientProcess> Enter(int32_t pid) ORVA_REQUIRES(tableMutex) {
    auto process = std::make_shared<ClientProcess>(pid);
    Table().emplace(pid, process);
    return process;
}

bool HasEnded(int32_t pid, int descriptor) {
    if (descriptor < 0) {
        return pid > 0 && kill(pid, 0) != 0 && errno == ESRCH;
    }
    pollfd entry = {descriptor, POLLIN, 0};
    return poll(&entry, 1, 0) > 0;
}

}  // namespace

std::shared_ptr<ClientProcess> ClientProcess::Calling() {
    const int32_t pid = android::hardware::IPCThreadState::self()->getCallingPid();
    const MutexLock lock(tableMutex);
    const auto [first, end] = Table().equal_range(pid);
    std::shared_ptr<ClientProcess> known = first != end ? std::prev(end)->second.lock() : nullptr;
    return known != nullptr ? known : Enter(pid);
}

std::shared_ptr<ClientProcess> ClientProcess::CallingWatched() {
    // Let go of without the lock, as every last reference must be.
    const std::shared_ptr<ClientProcess> known = Calling();
    std::shared_ptr<ClientProcess> process = known;
    const MutexLock lock(tableMutex);
    if (process->watched_ && HasEnded(process->pid_, process->descriptor_.Get())) {
        // Whoever calls is alive, so it has come by a dead one's number.
        process = Enter(process->pid_);
    }
    if (!process->watched_) {
        process->watched_ = true;
        process->descriptor_ = UniqueFd(static_cast<int>(syscall(kPidfdOpen, process->pid_, 0)));
    }
    return process;
}

ClientProcesses ClientProcess::Ended() {
    ClientProcesses processes;
    std::vector<pollfd> entries;
    {
        const MutexLock lock(tableMutex);
        for (const auto& [pid, known] : Table()) {
            processes.push_back(known.lock());
            const bool isWatched = processes.back() != nullptr && processes.back()->watched_;
            entries.push_back(
                    {isWatched ? processes.back()->descriptor_.Get() : kNotWatched, POLLIN, 0});
        }
    }
    poll(entries.data(), entries.size(), 0);  // passes over what is negative
    ClientProcesses ended;
    for (size_t i = 0; i < entries.size(); ++i) {
        const int descriptor = entries[i].fd;
        if (descriptor >= 0 ? entries[i].revents != 0
                            : descriptor != kNotWatched && HasEnded(processes[i]->pid_, -1)) {
            ended.push_back(processes[i]);
        }
    }
    return ended;
}

ClientProcess::~ClientProcess() {
    const MutexLock lock(tableMutex);
    for (auto [each, end] = Table().equal_range(pid_); each != end;) {
        each = each->second.expired() ? Table().erase(each) : std::next(each);
    }
}

bool ClientProcess::CountMapping(uint64_t length, uint64_t hollow) {
    const MutexLock lock(mutex_);
    if (length > kMostMapped - mapped_) {
        refusedRegions.clientMapped.fetch_add(1, std::memory_order_relaxed);
        return false;
    }
    if (hollow > kMostHollow - hollow_) {
        refusedRegions.clientHollow.fetch_add(1, std::memory_order_relaxed);
        return false;
    }
    mapped_ += length;
    hollow_ += hollow;
    return true;
}

void ClientProcess::ForgetMapping(uint64_t length, uint64_t hollow) {
    const MutexLock lock(mutex_);
    mapped_ -= length;
    hollow_ -= hollow;
}

}  // namespace orva::hidl
