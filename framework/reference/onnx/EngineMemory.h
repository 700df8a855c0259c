/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>

namespace orva::reference {

// What the engine's matrices of some models take together, and may take. May be used from any
// thread.
class EngineMemory {
public:
    explicit EngineMemory(size_t limit) : limit_(limit) {}

    // False when that would be more than the limit; nothing is taken then.
    bool Take(size_t bytes);
    void Give(size_t bytes) { taken_ -= bytes; }

    // The most bytes that were taken at a time.
    size_t most() const { return most_; }

private:
    const size_t limit_;
    std::atomic<size_t> taken_{0};
    std::atomic<size_t> most_{0};
};

// While it lives, the matrices that the engine makes on this thread count to `memory`, until each
// is gone. One that goes beyond the limit is refused with a cv::Exception.
class EngineMemoryScope {
public:
    explicit EngineMemoryScope(const std::shared_ptr<EngineMemory>& memory);
    ~EngineMemoryScope();
    EngineMemoryScope(const EngineMemoryScope&) = delete;
    EngineMemoryScope& operator=(const EngineMemoryScope&) = delete;

private:
    const std::shared_ptr<EngineMemory>* const outer_;
};

}  // namespace orva::reference
