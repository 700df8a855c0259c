/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "common/ClientProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <map>
#include <utility>

#include <hwbinder/IPCThreadState.h>

#include "common/SharedMapping.h"

namespace orva::hidl {

namespace {

// pidfd_open(), by the number that it has on every architecture: headers of older platforms lack
// it.
constexpr long kPidfdOpen = 434;

Mutex tableMutex;

// By number, of which the last is the one that calls may come from. Never destroyed: a client may
// let go when process exit has begun.
using ProcessTable = std::multimap<int32_t, ClientProcess*>;
ProcessTable& Table() ORVA_REQUIRES(tableMutex) {
    static auto& table = *new ProcessTable;
    return table;
}

}  // namespace

std::shared_ptr<ClientProcess> ClientProcess::Calling() {
    const int32_t pid = android::hardware::IPCThreadState::self()->getCallingPid();
    const MutexLock lock(tableMutex);
    const auto [first, end] = Table().equal_range(pid);
    if (first != end && !std::prev(end)->second->HasEnded()) {
        // Null where the last to hold it is just letting go.
        if (auto known = std::prev(end)->second->weak_from_this().lock()) {
            return known;
        }
    }
    auto process = std::make_shared<ClientProcess>(pid);
    Table().emplace(pid, process.get());
    return process;
}

bool ClientProcess::LookForEnded() {
    const MutexLock lock(tableMutex);
    std::vector<pollfd> entries;
    entries.reserve(Table().size());
    for (const auto& [pid, process] : Table()) {
        entries.push_back({process->descriptor_.Get(), POLLIN, 0});
    }
    poll(entries.data(), entries.size(), 0);  // passes over what is negative
    bool any = false;
    auto entry = entries.begin();
    for (const auto& [pid, process] : Table()) {
        const bool isGone = entry->fd >= 0 ? entry->revents != 0
                                           : pid > 0 && kill(pid, 0) != 0 && errno == ESRCH;
        ++entry;
        if (isGone) {
            process->hasEnded_ = true;
        }
        // For good, though another may have got its number.
        any = any || process->hasEnded_;
    }
    return any;
}

std::vector<std::shared_ptr<ClientProcess>> ClientProcess::All() {
    std::vector<std::shared_ptr<ClientProcess>> all;
    const MutexLock lock(tableMutex);
    for (const auto& [pid, process] : Table()) {
        if (auto known = process->weak_from_this().lock()) {
            all.push_back(std::move(known));
        }
    }
    return all;
}

ClientProcess::ClientProcess(int32_t pid)
        : pid_(pid), descriptor_(static_cast<int>(syscall(kPidfdOpen, pid, 0))) {}

ClientProcess::~ClientProcess() {
    const MutexLock lock(tableMutex);
    const auto [first, end] = Table().equal_range(pid_);
    const auto self = std::find_if(first, end, [&](auto& each) { return each.second == this; });
    if (self != end) {
        Table().erase(self);
    }
}

ClientProcess::Memory ClientProcess::Mapped() const {
    const MutexLock lock(mutex_);
    return memory_;
}

bool ClientProcess::CountMapping(uint64_t length, uint64_t hollow) {
    const MutexLock lock(mutex_);
    if (length > kMostMapped - memory_.mapped) {
        ++refusedRegions.clientMapped;
        return false;
    }
    if (hollow > kMostHollow - memory_.hollow) {
        ++refusedRegions.clientHollow;
        return false;
    }
    memory_ = {memory_.mappings + 1, memory_.mapped + length, memory_.hollow + hollow};
    return true;
}

void ClientProcess::ForgetMapping(uint64_t length, uint64_t hollow) {
    const MutexLock lock(mutex_);
    memory_ = {memory_.mappings - 1, memory_.mapped - length, memory_.hollow - hollow};
}

std::string ProgramOf(int32_t pid) {
    const std::string path = "/proc/" + std::to_string(pid) + "/comm";
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char name[64];
    const ssize_t size = file.Get() < 0 ? 0 : read(file.Get(), name, sizeof(name));
    // Its end is that of a line.
    return size > 0 ? std::string(name, static_cast<size_t>(size) - 1) : "";
}

}  // namespace orva::hidl
