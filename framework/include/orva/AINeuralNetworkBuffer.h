/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

#include <orva/AISimpleTensor.h>

namespace orva {

// Element type codes of a neural-network buffer.
enum AITensorDataType : int {
    AI_DATA_TYPE_UINT8 = 0,
    AI_DATA_TYPE_FLOAT32 = 1,
    AI_DATA_TYPE_INT8 = 2,
    AI_DATA_TYPE_INT16 = 3,
    AI_DATA_TYPE_INT32 = 4,
    AI_DATA_TYPE_INT64 = 5,
    AI_DATA_TYPE_UINT16 = 6,
    AI_DATA_TYPE_UINT32 = 7,
    AI_DATA_TYPE_UINT64 = 8,
    AI_DATA_TYPE_FLOAT16 = 9,    // IEEE 754's of 16 bits
    AI_DATA_TYPE_BFLOAT16 = 10,  // the upper half of a float32
    AI_DATA_TYPE_FLOAT64 = 11,
    AI_DATA_TYPE_BOOL = 12,  // a byte each, 0 or 1
};

// A buffer with the shape of a batch of images: number x channel x height x width, whatever the
// order of its elements in memory.
class AINeuralNetworkBuffer : public AISimpleTensor {
public:
    // Writes the attribute record into a buffer of `size` bytes. 0 success, 1 failure.
    virtual uint32_t SerializeTo(void* buffer, uint32_t size) = 0;
    // Reads the attribute record from a buffer of `size` bytes. 0 success, 1 failure.
    virtual uint32_t DeserializeFrom(const void* buffer, uint32_t size) = 0;

    int GetNumber() const { return number_; }
    void SetNumber(int number) { number_ = number; }
    int GetChannel() const { return channel_; }
    void SetChannel(int channel) { channel_ = channel; }
    int GetHeight() const { return height_; }
    void SetHeight(int height) { height_ = height; }
    int GetWidth() const { return width_; }
    void SetWidth(int width) { width_ = width; }
    // One of AITensorDataType.
    int GetData_type() const { return dataType_; }
    void SetData_type(int dataType) { dataType_ = dataType; }
    const std::string& GetName() const { return name_; }
    void SetName(const std::string& name) { name_ = name; }

private:
    int number_ = 1;
    int channel_ = 1;
    int height_ = 1;
    int width_ = 1;
    int dataType_ = AI_DATA_TYPE_UINT8;
    std::string name_;
};

}  // namespace orva
