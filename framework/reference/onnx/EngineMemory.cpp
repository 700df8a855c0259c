/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/EngineMemory.h"

#include <cstdint>
#include <utility>

#include <opencv2/core.hpp>

namespace orva::reference {

namespace {

thread_local const std::shared_ptr<EngineMemory>* counted = nullptr;

// The bytes of a matrix; the largest size_t when there are more.
size_t BytesOf(int dims, const int* sizes, int type) {
    size_t bytes = CV_ELEM_SIZE(type);
    for (int i = 0; i < dims; ++i) {
        const auto size = static_cast<size_t>(sizes[i] > 0 ? sizes[i] : 0);
        if (size != 0 && bytes > SIZE_MAX / size) {
            return SIZE_MAX;
        }
        bytes *= size;
    }
    return bytes;
}

// What one matrix takes, until it is gone.
class Share {
public:
    Share(std::shared_ptr<EngineMemory> memory, size_t bytes)
            : memory_(std::move(memory)), bytes_(bytes) {
        if (!memory_->Take(bytes_)) {
            CV_Error(cv::Error::StsNoMem, "the models need more memory than they may take");
        }
    }
    ~Share() { memory_->Give(bytes_); }
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;

private:
    const std::shared_ptr<EngineMemory> memory_;
    const size_t bytes_;
};

// The engine's own allocator, with its books kept.
class CountingAllocator : public cv::MatAllocator {
public:
    cv::UMatData* allocate(int dims, const int* sizes, int type, void* data, size_t* step,
                           cv::AccessFlag flags, cv::UMatUsageFlags usage) const override {
        if (data != nullptr || counted == nullptr) {
            return own_.allocate(dims, sizes, type, data, step, flags, usage);
        }
        auto share = std::make_shared<Share>(*counted, BytesOf(dims, sizes, type));
        cv::UMatData* matrix = own_.allocate(dims, sizes, type, data, step, flags, usage);
        matrix->currAllocator = this;
        matrix->allocatorContext = std::move(share);
        return matrix;
    }
    bool allocate(cv::UMatData* matrix, cv::AccessFlag flags,
                  cv::UMatUsageFlags usage) const override {
        return own_.allocate(matrix, flags, usage);
    }
    // Its share goes with it.
    void deallocate(cv::UMatData* matrix) const override { own_.deallocate(matrix); }

private:
    const cv::MatAllocator& own_ = *cv::Mat::getStdAllocator();
};

void InstallAllocator() {
    // Never destroyed: matrices may be around as long as the process is.
    static const bool done = [] {
        cv::Mat::setDefaultAllocator(new CountingAllocator);
        return true;
    }();
    static_cast<void>(done);
}

}  // namespace

bool EngineMemory::Take(size_t bytes) {
    size_t taken = taken_;
    do {
        if (bytes > limit_ - taken) {
            return false;
        }
    } while (!taken_.compare_exchange_weak(taken, taken + bytes));
    const size_t now = taken + bytes;
    size_t most = most_;
    while (most < now && !most_.compare_exchange_weak(most, now)) {
    }
    return true;
}

EngineMemoryScope::EngineMemoryScope(const std::shared_ptr<EngineMemory>& memory)
        : outer_(counted) {
    InstallAllocator();
    counted = &memory;
}

EngineMemoryScope::~EngineMemoryScope() {
    counted = outer_;
}

}  // namespace orva::reference
