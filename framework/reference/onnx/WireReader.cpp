/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/WireReader.h"

namespace orva::reference {

bool WireReader::Next() {
    if (!ok_ || rest_.size == 0) {
        return false;
    }
    uint64_t tag = 0;
    value_ = 0;
    bytes_ = {};
    ok_ = TakeVarint(rest_, tag) && tag >> 3 != 0 && tag <= UINT32_MAX;
    if (!ok_) {
        return false;
    }
    field_ = static_cast<uint32_t>(tag >> 3);
    type_ = static_cast<Type>(tag & 7);
    switch (type_) {
    case kVarint:
        ok_ = TakeVarint(rest_, value_);
        break;
    case kFixed64:
        ok_ = Take(8);
        break;
    case kFixed32:
        ok_ = Take(4);
        break;
    case kBytes: {
        uint64_t size = 0;
        ok_ = TakeVarint(rest_, size) && Take(size);
        break;
    }
    default:
        ok_ = false;
    }
    return ok_;
}

bool WireReader::TakeVarint(ByteRange& packed, uint64_t& value) {
    value = 0;
    for (unsigned shift = 0; shift < 64 && packed.size != 0; shift += 7) {
        const uint8_t byte = *packed.data++;
        --packed.size;
        value |= static_cast<uint64_t>(byte & 0x7f) << shift;
        if ((byte & 0x80) == 0) {
            return true;
        }
    }
    return false;
}

bool WireReader::Take(uint64_t size) {
    if (size > rest_.size) {
        return false;
    }
    bytes_ = {rest_.data, static_cast<size_t>(size)};
    rest_ = {rest_.data + size, rest_.size - static_cast<size_t>(size)};
    return true;
}

}  // namespace orva::reference
