/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/CloseShapes.h"

#include <string>

namespace orva::reference {

namespace {

using Bytes = std::vector<uint8_t>;

void AppendVarint(Bytes& out, uint64_t value) {
    for (; value >= 0x80; value >>= 7) {
        out.push_back(static_cast<uint8_t>(value | 0x80));
    }
    out.push_back(static_cast<uint8_t>(value));
}

void AppendNumber(Bytes& out, uint32_t field, uint64_t value) {
    AppendVarint(out, field << 3 | WireReader::kVarint);
    AppendVarint(out, value);
}

void AppendBytes(Bytes& out, uint32_t field, ByteRange bytes) {
    AppendVarint(out, field << 3 | WireReader::kBytes);
    AppendVarint(out, bytes.size);
    out.insert(out.end(), bytes.data, bytes.data + bytes.size);
}

void AppendBytes(Bytes& out, uint32_t field, const Bytes& bytes) {
    AppendBytes(out, field, ByteRange{bytes.data(), bytes.size()});
}

Bytes WriteInput(const OnnxValue& input) {
    Bytes shape;
    for (const int64_t dim : input.dims) {
        Bytes dimension;
        AppendNumber(dimension, 1, static_cast<uint64_t>(dim < 0 ? kOpenDimension : dim));
        AppendBytes(shape, 1, dimension);
    }
    Bytes tensor;
    AppendNumber(tensor, 1, static_cast<uint64_t>(input.elementType));
    AppendBytes(tensor, 2, shape);
    Bytes type;
    AppendBytes(type, 1, tensor);
    Bytes value;
    AppendBytes(value, 1,
                ByteRange{reinterpret_cast<const uint8_t*>(input.name.data()), input.name.size()});
    AppendBytes(value, 2, type);
    return value;
}

std::string NameOf(ByteRange value) {
    std::string name;
    for (WireReader reader(value); reader.Next();) {
        if (reader.field() == 1) {
            name = reader.bytes().ToString();
        }
    }
    return name;
}

Bytes RewriteGraph(ByteRange graph, const OnnxModel& model) {
    Bytes out;
    for (WireReader reader(graph); reader.Next();) {
        const OnnxValue* input = nullptr;
        for (const OnnxValue& candidate : model.inputs) {
            if (reader.field() == 11 && candidate.name == NameOf(reader.bytes())) {
                input = &candidate;
            }
        }
        if (input != nullptr) {
            AppendBytes(out, 11, WriteInput(*input));
        } else if (reader.type() == WireReader::kBytes) {
            AppendBytes(out, reader.field(), reader.bytes());
        }
    }
    return out;
}

}  // namespace

std::vector<uint8_t> CloseShapes(ByteRange file, const OnnxModel& model) {
    Bytes out;
    for (WireReader reader(file); reader.Next();) {
        if (reader.type() == WireReader::kVarint) {
            AppendNumber(out, reader.field(), reader.value());
        } else if (reader.field() == 7) {
            AppendBytes(out, 7, RewriteGraph(reader.bytes(), model));
        } else if (reader.type() == WireReader::kBytes) {
            AppendBytes(out, reader.field(), reader.bytes());
        }
    }
    return out;
}

}  // namespace orva::reference
