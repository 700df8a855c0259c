/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Payload.h"
#include "common/UniqueFd.h"

namespace orva_bench {

// The attribute record as it lies in an attribute block.
using AttributeRecord = std::array<int32_t, 5>;
static_assert(sizeof(AttributeRecord) == kAttributeSize);

// A peer's region, as long as it says, or touching it would end the process; MAP_FAILED otherwise.
void* mapReceived(int fd, size_t size);

// What outlives the call that brought it: its descriptors, duplicated, and its mapping.
class FloorTensor {
public:
    // Reads the record of one that a call brought. It has no bytes where that failed.
    FloorTensor(const orva::hidl::UniqueFd& attributeBlock, const orva::hidl::UniqueFd& data,
                size_t size);
    ~FloorTensor();
    FloorTensor(FloorTensor&& other) noexcept;
    FloorTensor& operator=(FloorTensor&&) = delete;

    void* bytes() const { return bytes_; }
    size_t size() const { return size_; }
    int data() const { return data_.Get(); }
    const AttributeRecord& attributes() const { return attributes_; }

private:
    AttributeRecord attributes_ = {};
    orva::hidl::UniqueFd attributeBlock_;
    orva::hidl::UniqueFd data_;
    void* bytes_ = nullptr;
    size_t size_;
};

// Sends the outputs, each with a new attribute block, and awaits the acknowledgement. What is sent
// is the handle's own: the tensor keeps its memories.
bool complete(int listener, const std::vector<FloorTensor>& outputs);

}  // namespace orva_bench
