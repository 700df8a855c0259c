/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include <utils/StrongPointer.h>

#include "Payload.h"
#include "common/Interfaces.h"
#include "common/NativeHandle.h"
#include "request/CompletionListener.h"

namespace orva_bench {

// One session of this process with either service, and regions that it makes once and sends with
// every request. Used by one thread.
template <class ServiceInterface, class Listener>
class BenchSession {
public:
    using Service = ServiceInterface;

    // The session has the number `id` (positive) among those of this process. `polled` is what the
    // process polls for its callbacks, if it does.
    BenchSession(android::sp<Service> service, int32_t id, std::optional<int> polled = {});
    ~BenchSession();
    BenchSession(const BenchSession&) = delete;
    BenchSession& operator=(const BenchSession&) = delete;

    // Opens the session on a node of the type (a model manager has none, and only logs it) with its
    // models, of which there are none at first, and registers its listener on both sides.
    bool open(const std::string& nodeType);
    void close();

    // Makes the regions for requests with inputs of so many bytes, the tensors' data in that
    // memory.
    bool prepare(size_t inputSize, TensorMemory memory = TensorMemory::kShared);
    // Sends one request and waits for its completion; false when either failed.
    bool request();
    // Sends one request and waits for nothing but its acceptance.
    bool submit();

protected:
    const android::sp<Service> service_;
    const android::sp<CompletionListener<Listener>> listener_;
    const int32_t id_;
    android::hardware::hidl_vec<orva::hidl::ModelBuffer> models_;
    android::hardware::hidl_string context_;  // without parameters
    android::hardware::hidl_vec<orva::hidl::AITensorHandle> inputs_;
    android::hardware::hidl_vec<orva::hidl::AITensorHandle> outputs_;

private:
    bool open_ = false;
    std::array<orva::hidl::NativeHandle, 4> regions_;
};

using AiSession = BenchSession<orva::hidl::IAIService_hidl, orva::hidl::IAIServiceListener>;

}  // namespace orva_bench
