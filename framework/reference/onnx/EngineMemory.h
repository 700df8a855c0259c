/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "client/Client.h"

struct OrtAllocator;
struct OrtMemoryInfo;

namespace orva::reference {

// What the engine holds for some models together, their tensors above all, and may hold. May be
// used from any thread.
class EngineMemory {
public:
    // What is taken counts to the client, too.
    EngineMemory(size_t limit, std::shared_ptr<Client> client)
            : limit_(limit), client_(std::move(client)) {}
    ~EngineMemory() { Trim(); }
    EngineMemory(const EngineMemory&) = delete;
    EngineMemory& operator=(const EngineMemory&) = delete;

    // False when that would be more than the limit, or more than the client may have, even without
    // the pieces that are kept; nothing is taken then.
    bool Take(size_t bytes);
    void Give(size_t bytes);

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
    bool TakeNew(size_t bytes);

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
// freed, wherever that is. The engine fails at a piece that goes beyond the limit. What operators
// make for themselves counts as long as the scope lives; they do not expect to fail at small pieces
// of it, so that the scope's work is ended where those come to be too much.
class EngineMemoryScope {
public:
    // `end` has the engine end the work when it next looks. It is called once at most, and must not
    // throw.
    EngineMemoryScope(const std::shared_ptr<EngineMemory>& memory, std::function<void()> end);
    ~EngineMemoryScope();
    EngineMemoryScope(const EngineMemoryScope&) = delete;
    EngineMemoryScope& operator=(const EngineMemoryScope&) = delete;

    // Whether the work was ended; the allocator has nothing for it any more.
    bool ended() const { return ended_; }
    // Throws a std::runtime_error that says why, when the work was ended.
    void RequireNotEnded() const;
    // What operators have made for themselves stays behind, and counted.
    void Leave() { taken_ = 0; }

    // This thread's; null where there is none.
    static EngineMemoryScope* Innermost();
    const std::shared_ptr<EngineMemory>& memory() const { return memory_; }
    // Of pieces that are not the allocator's. False where one should not have been made.
    bool OnNew(size_t bytes);
    void OnDelete(size_t bytes) { held_ -= static_cast<int64_t>(bytes); }

private:
    const std::shared_ptr<EngineMemory>& memory_;
    const std::function<void()> end_;
    EngineMemoryScope* const outer_;
    int64_t held_ = 0;  // Less than none, where it deletes what was there before it.
    size_t taken_ = 0;
    bool ended_ = false;
};

// The allocator that keeps these books, for the engine to use; there as long as the process.
OrtAllocator* CountingAllocator(const OrtMemoryInfo* info);

}  // namespace orva::reference
