/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orva::hidl {

// One tensor that is alive, as the state dump shows it.
struct LiveTensor {
    const char* type;
    uint64_t bytes;     // of its region
    int64_t mappedFor;  // nanoseconds
    int32_t pid;        // the client's
};

// Shows a tensor in the state dump, from Set() on and as long as it lives. Takes no lock. Used by
// one thread at a time, as its tensor is.
class TensorMark {
public:
    TensorMark() = default;
    ~TensorMark() { Clear(); }
    TensorMark(const TensorMark&) = delete;
    TensorMark& operator=(const TensorMark&) = delete;

    // The type's name must live as long as the process. In place of what was shown before.
    void Set(const char* type, uint64_t bytes);
    void Clear();

private:
    static constexpr size_t kNowhere = SIZE_MAX;
    size_t slot_ = kNowhere;
    bool counted_ = false;
};

// The tensors that are alive, in no order, and how many there are in all: of very many, some are
// only counted. May be called from any thread.
struct LiveTensors {
    size_t alive;
    std::vector<LiveTensor> listed;
};
LiveTensors ListTensors();

}  // namespace orva::hidl
