/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "debug/LiveTensors.h"

#include <atomic>

#include <hwbinder/IPCThreadState.h>

#include "debug/Clock.h"

namespace orva::hidl {

namespace {

// One place in a table that has room for the tensors of many clients.
struct Slot {
    // A generation, and in the two low bits what the slot is. A reader that finds the same value
    // before and after has read one tensor's fields.
    std::atomic<uint64_t> state;
    std::atomic<const char*> type;
    std::atomic<uint64_t> bytes;
    std::atomic<int64_t> mappedAt;
    std::atomic<int32_t> pid;
};
constexpr uint64_t kFree = 0, kWriting = 1, kLive = 2, kMask = 3, kNextGeneration = 4;

constexpr size_t kSlots = 4096;
// How many slots a tensor tries before it is only counted.
constexpr size_t kTries = 64;

Slot slots[kSlots];
std::atomic<size_t> nextSlot{0};
std::atomic<size_t> aliveTensors{0};

}  // namespace

void TensorMark::Set(const char* type, uint64_t bytes) {
    Clear();
    counted_ = true;
    aliveTensors.fetch_add(1, std::memory_order_relaxed);
    const size_t first = nextSlot.load(std::memory_order_relaxed);
    for (size_t i = 0; i < kTries; ++i) {
        const size_t index = (first + i) % kSlots;
        Slot& slot = slots[index];
        uint64_t state = slot.state.load(std::memory_order_relaxed);
        if ((state & kMask) != kFree ||
            !slot.state.compare_exchange_strong(state, state | kWriting)) {
            continue;
        }
        // Each release says: the state that was read before this field is out of date.
        slot.type.store(type, std::memory_order_release);
        slot.bytes.store(bytes, std::memory_order_release);
        slot.mappedAt.store(MonotonicNow(), std::memory_order_release);
        slot.pid.store(android::hardware::IPCThreadState::self()->getCallingPid(),
                       std::memory_order_release);
        slot.state.store(state | kLive, std::memory_order_release);
        slot_ = index;
        nextSlot.store(index + 1, std::memory_order_relaxed);
        return;
    }
    nextSlot.store(first + kTries, std::memory_order_relaxed);
}

void TensorMark::Clear() {
    if (slot_ != kNowhere) {
        Slot& slot = slots[slot_];
        const uint64_t state = slot.state.load(std::memory_order_relaxed);
        slot.state.store((state & ~kMask) + kNextGeneration, std::memory_order_release);
        // The next tensor finds it in the processor's cache.
        nextSlot.store(slot_, std::memory_order_relaxed);
        slot_ = kNowhere;
    }
    if (counted_) {
        aliveTensors.fetch_sub(1, std::memory_order_relaxed);
        counted_ = false;
    }
}

LiveTensors ListTensors() {
    LiveTensors tensors;
    const int64_t now = MonotonicNow();
    for (Slot& slot : slots) {
        const uint64_t state = slot.state.load(std::memory_order_acquire);
        if ((state & kMask) != kLive) {
            continue;
        }
        const LiveTensor tensor = {slot.type.load(std::memory_order_acquire),
                                   slot.bytes.load(std::memory_order_acquire),
                                   now - slot.mappedAt.load(std::memory_order_acquire),
                                   slot.pid.load(std::memory_order_acquire)};
        if (slot.state.load(std::memory_order_acquire) == state) {
            tensors.listed.push_back(tensor);
        }
    }
    tensors.alive = aliveTensors.load(std::memory_order_relaxed);
    return tensors;
}

}  // namespace orva::hidl
