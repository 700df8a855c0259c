/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/TensorCheck.h"

#include <iterator>

namespace orva::reference {

namespace {

// Field numbers of a tensor in the file format.
enum Field : uint32_t {
    kDims = 1,
    kElementType = 2,
    kFloatData = 4,
    kInt32Data = 5,
    kStringData = 6,
    kInt64Data = 7,
    kName = 8,
    kRawData = 9,
    kDoubleData = 10,
    kUint64Data = 11,
    kExternalData = 13,
};

// Bytes of an element by type number; 0 for those that the engine has no use for.
constexpr uint64_t kElementSizes[] = {0, 4, 1, 1, 2, 2, 4, 8, 0, 1, 2, 8, 4, 8};

constexpr uint64_t kMaxElements = INT32_MAX;

class TensorReader {
public:
    bool Read(ByteRange tensor) {
        WireReader reader(tensor);
        while (reader.Next()) {
            if (!ReadField(reader)) {
                return false;
            }
        }
        return reader.ok();
    }

    bool ElementsFit() const {
        if (elementType_ >= std::size(kElementSizes) || kElementSizes[elementType_] == 0) {
            return false;
        }
        const uint64_t size = kElementSizes[elementType_];
        bool found = elements_ == 0;
        if (rawBytes_ != 0) {
            found = true;
            if (rawBytes_ % size != 0 || rawBytes_ / size != elements_) {
                return false;
            }
        }
        for (const uint64_t count : {floats_, int32s_, int64s_, doubles_, uint64s_}) {
            found = found || count != 0;
            if (count != 0 && count != elements_) {
                return false;
            }
        }
        return found;
    }

    std::string name;
    size_t rank = 0;

private:
    bool ReadField(const WireReader& reader) {
        switch (reader.field()) {
        case kDims:
            return reader.type() == WireReader::kVarint
                           ? AddDim(reader.value())
                           : reader.type() == WireReader::kBytes && ReadPackedDims(reader.bytes());
        case kElementType:
            elementType_ = reader.value();
            return true;
        case kName:
            name = reader.bytes().ToString();
            return true;
        case kRawData:
            rawBytes_ = reader.bytes().size;
            return reader.type() == WireReader::kBytes;
        case kFloatData:
            return CountFixed(reader, WireReader::kFixed32, 4, floats_);
        case kDoubleData:
            return CountFixed(reader, WireReader::kFixed64, 8, doubles_);
        case kInt32Data:
            return CountVarints(reader, int32s_);
        case kInt64Data:
            return CountVarints(reader, int64s_);
        case kUint64Data:
            return CountVarints(reader, uint64s_);
        case kStringData:
        case kExternalData:
            return false;
        default:
            return true;
        }
    }

    bool AddDim(uint64_t dim) {
        if (++rank > kMaxRank || dim > kMaxElements || elements_ * dim > kMaxElements) {
            return false;
        }
        elements_ *= dim;
        return true;
    }

    bool ReadPackedDims(ByteRange packed) {
        while (packed.size != 0) {
            uint64_t dim = 0;
            if (!WireReader::TakeVarint(packed, dim) || !AddDim(dim)) {
                return false;
            }
        }
        return true;
    }

    static bool CountFixed(const WireReader& reader, WireReader::Type single, size_t size,
                           uint64_t& count) {
        if (reader.type() == single) {
            ++count;
            return true;
        }
        count += reader.bytes().size / size;
        return reader.type() == WireReader::kBytes && reader.bytes().size % size == 0;
    }

    static bool CountVarints(const WireReader& reader, uint64_t& count) {
        if (reader.type() == WireReader::kVarint) {
            ++count;
            return true;
        }
        ByteRange packed = reader.bytes();
        for (uint64_t value = 0; packed.size != 0; ++count) {
            if (!WireReader::TakeVarint(packed, value)) {
                return false;
            }
        }
        return reader.type() == WireReader::kBytes;
    }

    uint64_t elementType_ = 0;
    uint64_t elements_ = 1;
    uint64_t rawBytes_ = 0;
    uint64_t floats_ = 0;
    uint64_t int32s_ = 0;
    uint64_t int64s_ = 0;
    uint64_t doubles_ = 0;
    uint64_t uint64s_ = 0;
};

}  // namespace

bool CheckTensor(ByteRange tensor, std::string& name, int& rank, std::string& reason) {
    TensorReader reader;
    if (!reader.Read(tensor) || !reader.ElementsFit()) {
        reason = "tensor " + reader.name + " does not have the elements that its shape says";
        return false;
    }
    name = reader.name;
    rank = static_cast<int>(reader.rank);
    return true;
}

}  // namespace orva::reference
