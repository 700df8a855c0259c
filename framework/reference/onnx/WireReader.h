/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace orva::reference {

struct ByteRange {
    const uint8_t* data = nullptr;
    size_t size = 0;

    std::string ToString() const { return std::string(reinterpret_cast<const char*>(data), size); }
};

// Walks the fields of one protobuf message in memory. Takes any bytes; the first damage ends the
// walk. Groups, long out of use, count as damage.
class WireReader {
public:
    enum Type : uint8_t { kVarint = 0, kFixed64 = 1, kBytes = 2, kFixed32 = 5 };

    explicit WireReader(ByteRange message) : rest_(message) {}

    // Goes to the next field. False at the end, and at damage.
    bool Next();
    // True while no damage was met.
    bool ok() const { return ok_; }

    // Of the field that Next went to:
    uint32_t field() const { return field_; }
    Type type() const { return type_; }
    // A varint's value; 0 for other types.
    uint64_t value() const { return value_; }
    // The content of a length-delimited or fixed-size field; empty for varints.
    ByteRange bytes() const { return bytes_; }

    // Takes the first varint off a packed field; false when there is none.
    static bool TakeVarint(ByteRange& packed, uint64_t& value);

private:
    bool Take(uint64_t size);

    ByteRange rest_;
    bool ok_ = true;
    uint32_t field_ = 0;
    Type type_ = kVarint;
    uint64_t value_ = 0;
    ByteRange bytes_;
};

}  // namespace orva::reference
