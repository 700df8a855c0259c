/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include <utils/StrongPointer.h>

#include "Payload.h"
#include "common/Interfaces.h"
#include "common/NativeHandle.h"

namespace orva_bench {

// Where a client's completions arrive. Made and called on any thread, awaited on one.
class CompletionListener;

// One session of this process, with regions that it makes once and sends with every request.
// Used by one thread.
class BenchSession {
public:
    // The session has the number `id` (positive) among those of this process.
    BenchSession(android::sp<orva::hidl::IAIService_hidl> service, int32_t id);
    ~BenchSession();
    BenchSession(const BenchSession&) = delete;
    BenchSession& operator=(const BenchSession&) = delete;

    // Opens the session on a node of the type and registers its listener on both sides.
    bool open(const std::string& nodeType);
    void close();

    // Makes the regions for requests with inputs of so many bytes, the tensors' data in that
    // memory.
    bool prepare(size_t inputSize, TensorMemory memory = TensorMemory::kShared);
    // Sends one request and waits for its completion; false when either failed.
    bool request();
    // Sends one request and waits for nothing but its acceptance.
    bool submit();

private:
    const android::sp<orva::hidl::IAIService_hidl> service_;
    const android::sp<CompletionListener> listener_;
    const int32_t id_;
    bool open_ = false;

    std::array<orva::hidl::NativeHandle, 4> regions_;
    android::hardware::hidl_string context_;  // without parameters
    android::hardware::hidl_vec<orva::hidl::AITensorHandle> inputs_;
    android::hardware::hidl_vec<orva::hidl::AITensorHandle> outputs_;
};

}  // namespace orva_bench
