/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/EngineMemory.h"

#include <malloc.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <utility>

#include <onnxruntime_c_api.h>

#include "onnx/Refuse.h"

namespace orva::reference {

namespace {

thread_local EngineMemoryScope* innermost = nullptr;

// Where the engine's vectors of numbers begin.
constexpr size_t kAlignment = 64;

// What the kernel would be asked for each time, and how many such are kept.
constexpr size_t kLarge = size_t{1} << 16;
constexpr size_t kMostKept = 16;

// What operators may make for themselves before that counts, and in which steps it then does.
constexpr size_t kUncounted = size_t{1} << 20;
constexpr size_t kStep = size_t{1} << 16;

// Stands before each piece.
struct alignas(kAlignment) Header {
    std::shared_ptr<EngineMemory> memory;
    size_t bytes;
};

constexpr char kTooMuch[] = "the models need more memory than they may take";

// The engine takes a null for memory, and an exception for what it is.
class TooMuch : public std::bad_alloc {
public:
    const char* what() const noexcept override { return kTooMuch; }
};

// On a thread of the engine's own there is no telling whose work it is, nor may it be refused.
void* Allocate(OrtAllocator*, size_t size) {
    if (size > SIZE_MAX - 2 * sizeof(Header)) {
        throw TooMuch();
    }
    const size_t bytes = sizeof(Header) + (size + kAlignment - 1) / kAlignment * kAlignment;
    if (innermost != nullptr && innermost->ended()) {
        throw TooMuch();
    }
    std::shared_ptr<EngineMemory> memory = innermost != nullptr ? innermost->memory() : nullptr;
    if (memory != nullptr && bytes >= kLarge) {
        if (void* const kept = memory->Reuse(bytes)) {
            return new (kept) Header{std::move(memory), bytes} + 1;
        }
    }
    if (memory != nullptr && !memory->Take(bytes)) {
        throw TooMuch();
    }
    void* const piece = std::aligned_alloc(kAlignment, bytes);
    if (piece == nullptr) {
        if (memory != nullptr) {
            memory->Give(bytes);
        }
        throw std::bad_alloc();
    }
    return new (piece) Header{std::move(memory), bytes} + 1;
}

void Free(OrtAllocator*, void* pointer) {
    if (pointer == nullptr) {
        return;
    }
    Header* const header = static_cast<Header*>(pointer) - 1;
    const std::shared_ptr<EngineMemory> memory = std::move(header->memory);
    const size_t bytes = header->bytes;
    header->~Header();
    if (memory != nullptr && bytes >= kLarge) {
        memory->Keep(header, bytes);
        return;
    }
    if (memory != nullptr) {
        memory->Give(bytes);
    }
    std::free(header);
}

const OrtMemoryInfo* memoryInfo = nullptr;

}  // namespace

bool EngineMemory::Take(size_t bytes) {
    if (TakeNew(bytes)) {
        return true;
    }
    Trim();
    return TakeNew(bytes);
}

bool EngineMemory::TakeNew(size_t bytes) {
    size_t taken = taken_;
    do {
        if (bytes > limit_ - taken) {
            return false;
        }
    } while (!taken_.compare_exchange_weak(taken, taken + bytes));
    if (!client_->memory.Take(bytes)) {
        taken_ -= bytes;
        return false;
    }
    const size_t now = taken + bytes;
    size_t most = most_;
    while (most < now && !most_.compare_exchange_weak(most, now)) {
    }
    return true;
}

void EngineMemory::Give(size_t bytes) {
    taken_ -= bytes;
    client_->memory.Give(bytes);
}

void* EngineMemory::Reuse(size_t bytes) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = std::find_if(kept_.begin(), kept_.end(),
                                    [&](const auto& piece) { return piece.second == bytes; });
    if (found == kept_.end()) {
        return nullptr;
    }
    void* const piece = found->first;
    kept_.erase(found);
    return piece;
}

void EngineMemory::Keep(void* piece, size_t bytes) {
    std::pair<void*, size_t> replaced = {};
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (kept_.size() == kMostKept) {
            replaced = kept_.front();
            kept_.erase(kept_.begin());
        }
        kept_.emplace_back(piece, bytes);
    }
    if (replaced.first != nullptr) {
        Give(replaced.second);
        std::free(replaced.first);
    }
}

void EngineMemory::Trim() {
    const std::lock_guard<std::mutex> lock(mutex_);
    for (const auto& [piece, bytes] : kept_) {
        std::free(piece);
        Give(bytes);
    }
    kept_.clear();
}

EngineShare::EngineShare(std::shared_ptr<EngineMemory> memory, size_t bytes)
        : memory_(std::move(memory)), bytes_(bytes) {
    if (!memory_->Take(bytes_)) {
        throw std::runtime_error(kTooMuch);
    }
}

EngineMemoryScope::EngineMemoryScope(const std::shared_ptr<EngineMemory>& memory,
                                     std::function<void()> end)
        : memory_(memory), end_(std::move(end)), outer_(innermost) {
    innermost = this;
}

EngineMemoryScope::~EngineMemoryScope() {
    innermost = outer_;
    memory_->Give(taken_);
}

EngineMemoryScope* EngineMemoryScope::Innermost() {
    return innermost;
}

void EngineMemoryScope::RequireNotEnded() const {
    if (ended_) {
        Refuse(kTooMuch);
    }
}

bool EngineMemoryScope::OnNew(size_t bytes) {
    held_ += static_cast<int64_t>(bytes);
    const auto counted = static_cast<int64_t>(kUncounted + taken_);
    if (held_ <= counted) {
        return true;
    }
    const auto beyond = static_cast<size_t>(held_ - counted);
    const size_t more = (beyond + kStep - 1) / kStep * kStep;
    if (!ended_ && memory_->Take(more)) {
        taken_ += more;
        return true;
    }
    if (!ended_ && bytes < kLarge) {
        ended_ = true;
        end_();
    }
    return false;
}

OrtAllocator* CountingAllocator(const OrtMemoryInfo* info) {
    static OrtAllocator allocator = [info] {
        memoryInfo = info;
        OrtAllocator made = {};
        made.version = ORT_API_VERSION;
        made.Alloc = Allocate;
        made.Reserve = Allocate;
        made.Free = Free;
        made.Info = [](const OrtAllocator*) { return memoryInfo; };
        return made;
    }();
    return &allocator;
}

}  // namespace orva::reference

// A sanitizer's own takes its place, and does not know this one.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORVA_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORVA_SANITIZED
#endif
#endif

#ifndef ORVA_SANITIZED
// In place of the library's: operators also make memory of their own, some by what a client's
// numbers say.
void* operator new(size_t bytes) {
    using namespace orva::reference;
    void* const piece = std::malloc(bytes);
    if (piece == nullptr) {
        throw std::bad_alloc();
    }
    auto* const scope = EngineMemoryScope::Innermost();
    const size_t size = scope != nullptr ? malloc_usable_size(piece) : 0;
    if (scope != nullptr && !scope->OnNew(size) && bytes >= kLarge) {
        scope->OnDelete(size);
        std::free(piece);
        throw TooMuch();
    }
    return piece;
}

void operator delete(void* piece) noexcept {
    if (auto* const scope = orva::reference::EngineMemoryScope::Innermost()) {
        scope->OnDelete(malloc_usable_size(piece));
    }
    std::free(piece);
}

void operator delete(void* piece, size_t) noexcept {
    operator delete(piece);
}
#endif
