/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/NumberCheck.h"

#include <cstring>
#include <set>

#include "onnx/Refuse.h"

namespace orva::reference {

namespace {

// What the engine takes unseen, and what came of it: addresses that are none (GatherND), divisions
// by zero (the blocks' squares), lists and loops as long as that (the others).
struct Bound {
    const char* type;
    const char* attribute;
    int64_t least;
    int64_t most;
};
constexpr Bound kBounds[] = {
        {"DepthToSpace", "blocksize", 1, 1 << 15},
        {"GatherND", "batch_dims", 0, 64},
        {"RoiAlign", "sampling_ratio", 0, 64},
        {"Scan", "num_scan_inputs", 0, 1 << 12},
        {"SpaceToDepth", "blocksize", 1, 1 << 15},
        {"TfIdfVectorizer", "max_skip_count", 0, 1 << 16},
};

// Those that are values, and no index, size or count.
bool IsValue(const std::string& attribute) {
    static const std::set<std::string> values = {"default_int64", "replaced_value_int64",
                                                 "value_int"};
    return values.count(attribute) != 0;
}

// Of a field of one number or of packed ones.
bool IsSmall(const WireReader& reader) {
    bool small = orva::reference::IsSmall(static_cast<int64_t>(reader.value()));
    ByteRange packed = reader.bytes();
    for (uint64_t number = 0; WireReader::TakeVarint(packed, number);) {
        small = small && orva::reference::IsSmall(static_cast<int64_t>(number));
    }
    return small;
}

bool IsSmallAttribute(ByteRange attribute) {
    bool small = true;
    WireReader reader(attribute);
    while (reader.Next()) {
        switch (reader.field()) {
        case 3:
        case 8:
            small = small && IsSmall(reader);
            break;
        case 5:
            small = small && HasSmallNumbers(reader.bytes());
            break;
        case 21:  // What a caller of the function says.
            small = false;
            break;
        default:
            break;
        }
    }
    return small && reader.ok();
}

}  // namespace

bool HasSmallNumbers(ByteRange tensor) {
    bool small = true;
    WireReader reader(tensor);
    while (reader.Next()) {
        if (reader.field() == 7) {
            small = small && IsSmall(reader);
        } else if (reader.field() == 9) {
            const ByteRange raw = reader.bytes();
            for (size_t at = 0; at + sizeof(int64_t) <= raw.size; at += sizeof(int64_t)) {
                int64_t number;
                std::memcpy(&number, raw.data + at, sizeof number);
                small = small && IsSmall(number);
            }
        }
    }
    return small && reader.ok();
}

bool MakesSmallNumbers(ByteRange node) {
    std::string type;
    bool small = true;
    WireReader reader(node);
    while (reader.Next()) {
        if (reader.field() == 4) {
            type = reader.bytes().ToString();
        } else if (reader.field() == 5) {
            small = small && IsSmallAttribute(reader.bytes());
        }
    }
    return small && type == "Constant" && reader.ok();
}

void CheckNumber(const std::string& type, ByteRange attribute) {
    std::string name;
    int64_t number = 0;
    for (WireReader reader(attribute); reader.Next();) {
        if (reader.field() == 1) {
            name = reader.bytes().ToString();
        } else if (reader.field() == 3) {
            number = static_cast<int64_t>(reader.value());
        }
    }
    const auto refuse = [&] {
        Refuse("operator " + type + " with " + name + " " + std::to_string(number));
    };
    for (const Bound& bound : kBounds) {
        if (type == bound.type && name == bound.attribute &&
            (number < bound.least || number > bound.most)) {
            refuse();
        }
    }
    // Elsewhere it cuts them off at 32 bits, after it has looked.
    if (!IsSmall(number) && !IsValue(name)) {
        refuse();
    }
}

}  // namespace orva::reference
