/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "SlowModel.h"

#include <cstring>

namespace orva::attack {

namespace {

// The wire format of protocol buffers, as far as it is needed: numbers, and what has a length.
class Message {
public:
    Message& number(int field, uint64_t value) {
        varint(static_cast<uint64_t>(field) << 3);
        varint(value);
        return *this;
    }
    Message& bytes(int field, const std::string& value) {
        varint(static_cast<uint64_t>(field) << 3 | 2);
        varint(value.size());
        text_ += value;
        return *this;
    }
    Message& message(int field, const Message& value) { return bytes(field, value.text_); }
    const std::string& text() const { return text_; }

private:
    void varint(uint64_t value) {
        for (; value >= 0x80; value >>= 7) {
            text_ += static_cast<char>(value | 0x80);
        }
        text_ += static_cast<char>(value);
    }
    std::string text_;
};

// ValueInfoProto: name 1, type 2; TypeProto: tensor_type 1; elem_type 1 (float: 1), shape 2; dim 1;
// dim_value 1.
Message squareValue(const char* name, int64_t side) {
    Message dim;
    dim.number(1, static_cast<uint64_t>(side));
    Message shape;
    shape.message(1, dim).message(1, dim);
    Message tensor;
    tensor.number(1, 1).message(2, shape);
    return Message().bytes(1, name).message(2, Message().message(1, tensor));
}

}  // namespace

client::Model productModel(int64_t side, int count) {
    // GraphProto: node 1, name 2, input 11, output 12. NodeProto: input 1, output 2, op_type 4.
    Message graph;
    std::string last = "x";
    for (int i = 1; i <= count; ++i) {
        const std::string next = i == count ? "y" : "p" + std::to_string(i);
        graph.message(1, Message().bytes(1, last).bytes(1, "x").bytes(2, next).bytes(4, "MatMul"));
        last = next;
    }
    graph.bytes(2, "slow");
    graph.message(11, squareValue("x", side)).message(12, squareValue("y", side));
    // ModelProto: ir_version 1, graph 7, opset_import 8; OperatorSetIdProto: version 2.
    Message model;
    model.number(1, 7).message(7, graph).message(8, Message().bytes(1, "").number(2, 13));

    client::Model result{"", client::SharedRegion("slow", model.text().size())};
    std::memcpy(result.bytes.data(), model.text().data(), model.text().size());
    return result;
}

client::Tensor squareTensor(int64_t side) {
    client::TensorAttributes attributes;
    attributes.dataType = 1;
    attributes.height = attributes.width = static_cast<int32_t>(side);
    return client::Tensor(attributes, static_cast<size_t>(side * side) * sizeof(float));
}

}  // namespace orva::attack
