/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/TensorCheck.h"

#include "onnx/Refuse.h"

namespace orva::reference {

namespace {

// Field numbers of a tensor in the file format.
enum Field : uint32_t {
    kDims = 1,
    kSegment = 3,
    kFloatData = 4,
    kInt32Data = 5,
    kStringData = 6,
    kInt64Data = 7,
    kName = 8,
    kRawData = 9,
    kDoubleData = 10,
    kUint64Data = 11,
    kExternalData = 13,
    kDataLocation = 14,
};

// The smallest elements have two bits.
constexpr uint64_t kMostElementsPerByte = 4;
constexpr uint64_t kMaxElements = INT32_MAX;

struct Shape {
    size_t rank = 0;
    uint64_t elements = 1;
    bool inRange = true;

    void Add(uint64_t dim) {
        inRange = inRange && ++rank <= kMaxRank && dim <= kMaxElements &&
                  elements * dim <= kMaxElements;
        elements = inRange ? elements * dim : 0;
    }
};

}  // namespace

std::string CheckTensor(ByteRange tensor) {
    std::string name;
    Shape shape;
    uint64_t content = 0;
    bool elsewhere = false;
    WireReader reader(tensor);
    while (reader.Next()) {
        ByteRange packed = reader.bytes();
        switch (reader.field()) {
        case kDims:
            if (reader.type() == WireReader::kVarint) {
                shape.Add(reader.value());
            }
            for (uint64_t dim = 0; packed.size != 0 && shape.inRange;) {
                shape.inRange = WireReader::TakeVarint(packed, dim);
                shape.Add(dim);
            }
            break;
        case kName:
            name = reader.bytes().ToString();
            break;
        case kFloatData:
        case kInt32Data:
        case kStringData:
        case kInt64Data:
        case kRawData:
        case kDoubleData:
        case kUint64Data:
            // One that is a number of its own has a byte at least, too; so has an empty text.
            content += packed.size + 1;
            break;
        case kSegment:
        case kExternalData:
            elsewhere = true;
            break;
        case kDataLocation:
            elsewhere = elsewhere || reader.value() != 0;
            break;
        default:
            break;
        }
    }
    if (elsewhere) {
        Refuse("the elements of tensor " + name + " stand outside the file");
    }
    if (!reader.ok() || !shape.inRange || shape.elements > kMostElementsPerByte * content) {
        Refuse("tensor " + name + " does not have the elements that its shape says");
    }
    return name;
}

}  // namespace orva::reference
