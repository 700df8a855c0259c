/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>

namespace orva_bench {

// What a client does over and over. The floor's for both services is the same.
enum class Work {
    kRequest,         // a request to a node of the general AI service
    kManagerRequest,  // a request to a model manager, in one call
    kBinding,         // tensors bound, then a computation started on them
    kSession,         // a model manager session, opened with its listener and closed
    kBuild,           // a model built of several sources
};

// What one request carries, beside the floor and through the services alike: one input of a size
// that varies and one output, each with its attribute block.
constexpr size_t kPictureSize = 224 * 224 * 3;
constexpr size_t kOutputSize = 4004;  // 1,001 scores of four bytes
constexpr size_t kAttributeSize = 20;

// Where the services' tensors lie. The floor knows shared memory only.
enum class TensorMemory { kShared, kIon };

// Who in a client serves its callbacks: the thread that makes its calls, between them, or a thread
// of the runtime's own.
enum class Callbacks { kPolled, kPooled };

// Who awaits no completion never polls.
constexpr Callbacks usualCallbacks(Work work) {
    return work == Work::kSession || work == Work::kBuild ? Callbacks::kPooled : Callbacks::kPolled;
}

// The model that the demonstration looks for faces with.
constexpr size_t kModelSize = 442'005;

// The regions that a build's sources lie in, all of one size. The built model's is as large as
// they are together.
constexpr size_t kSources = 4;

// What a contestant is asked to do.
struct Load {
    // Of all sources together in a build, of the model in a session; 0 where there is none.
    size_t inputSize;
    size_t clients;
    TensorMemory memory = TensorMemory::kShared;
    Work work = Work::kRequest;
    Callbacks callbacks = Callbacks::kPolled;
};

}  // namespace orva_bench
