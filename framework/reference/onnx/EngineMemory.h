/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "client/Client.h"

struct OrtAllocator;
struct OrtMemoryInfo;

namespace orva::reference {

// What the engine holds for the tensors of some models together, and may hold. May be used from any
// thread.
class EngineMemory {
public:
    // What is taken counts to the client, too.
    EngineMemory(size_t limit, std::shared_ptr<Client> client)
            : limit_(limit), client_(std::move(client)) {}
    ~EngineMemory() { Trim(); }
    EngineMemory(const EngineMemory&) = delete;
    EngineMemory& operator=(const EngineMemory&) = delete;

    // False when that would be more than the limit, or more than the client may have; nothing is
    // taken then.
    bool Take(size_t bytes);
    void Give(size_t bytes);
    // Whether so many could be taken now.
    bool Allows(size_t bytes);

    // Large pieces that are free are kept for the next run, which will want the same again, and
    // the kernel takes long over; they stay taken. A piece is of the allocator's own form.
    // Null when there is none of that size.
    void* Reuse(size_t bytes);
    // In place of the one that was kept first when they are too many: a session's first run takes
    // pieces that none after it will.
    void Keep(void* piece, size_t bytes);
    // Gives back all that are kept.
    void Trim();

    const std::shared_ptr<Client>& client() const { return client_; }

    // The bytes that are taken now, and the most that were at a time.
    size_t taken() const { return taken_; }
    size_t most() const { return most_; }

private:
    const size_t limit_;
    const std::shared_ptr<Client> client_;
    std::mutex mutex_;
    std::vector<std::pair<void*, size_t>> kept_;  // under the lock
    std::atomic<size_t> taken_{0};
    std::atomic<size_t> most_{0};
};

// Bytes that are taken as long as it lives, for what the engine holds and does not allocate itself.
// Throws std::runtime_error when there are not so many left.
class EngineShare {
public:
    EngineShare(std::shared_ptr<EngineMemory> memory, size_t bytes);
    ~EngineShare() {
        memory_->Give(bytes_);
        memory_->Trim();
    }
    EngineShare(const EngineShare&) = delete;
    EngineShare& operator=(const EngineShare&) = delete;

    const std::shared_ptr<EngineMemory>& memory() const { return memory_; }

private:
    const std::shared_ptr<EngineMemory> memory_;
    const size_t bytes_;
};

// While it lives, what the engine allocates on this thread counts to `memory`, until each piece is
// freed, wherever that is. The engine fails at a piece that goes beyond the limit.
class EngineMemoryScope {
public:
    explicit EngineMemoryScope(const std::shared_ptr<EngineMemory>& memory);
    ~EngineMemoryScope();
    EngineMemoryScope(const EngineMemoryScope&) = delete;
    EngineMemoryScope& operator=(const EngineMemoryScope&) = delete;

private:
    const std::shared_ptr<EngineMemory>* const outer_;
};

// The allocator that keeps these books, for the engine to use; there as long as the process.
OrtAllocator* CountingAllocator(const OrtMemoryInfo* info);

}  // namespace orva::reference
