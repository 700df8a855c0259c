/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/OnnxModel.h"

#include <exception>
#include <utility>

#include "onnx/GraphCheck.h"
#include "onnx/Refuse.h"
#include "onnx/TensorCheck.h"

namespace orva::reference {

namespace {

// Protobuf merges a message that occurs twice. No tool writes such files, and the engine and this
// reader must not see different models.
struct Once {
    ByteRange bytes;
    bool seen = false;

    void Take(const WireReader& reader, const char* twice) {
        if (seen || reader.type() != WireReader::kBytes) {
            Refuse(twice);
        }
        bytes = reader.bytes();
        seen = true;
    }
};

void ReadDimension(ByteRange dimension, OnnxValue& value) {
    int64_t size = -1;
    std::string name;
    bool inRange = true;
    WireReader reader(dimension);
    while (reader.Next()) {
        if (reader.field() == 1) {
            size = static_cast<int64_t>(reader.value());
            inRange = inRange && reader.type() == WireReader::kVarint;
            // What stands below 0 there is open.
            size = size < 0 ? -1 : size;
            name.clear();
        } else if (reader.field() == 2) {
            size = -1;
            name = reader.bytes().ToString();
        }
    }
    if (!inRange || !reader.ok() || value.dims.size() == kMaxRank) {
        Refuse("the shape of " + value.name + " is out of range");
    }
    value.dims.push_back(size);
    value.dimNames.push_back(std::move(name));
}

void ReadTensorType(ByteRange type, OnnxValue& value) {
    Once shape;
    WireReader fields(type);
    while (fields.Next()) {
        if (fields.field() == 1) {
            value.elementType = static_cast<int32_t>(fields.value());
        } else if (fields.field() == 2) {
            shape.Take(fields, "a value with two shapes");
        }
    }
    WireReader dimensions(shape.bytes);
    while (dimensions.Next()) {
        if (dimensions.field() == 1) {
            if (dimensions.type() != WireReader::kBytes) {
                Refuse("the shape of " + value.name + " is out of range");
            }
            ReadDimension(dimensions.bytes(), value);
        }
    }
    if (!fields.ok() || !dimensions.ok()) {
        Refuse("a value is malformed");
    }
    value.hasShape = shape.seen;
}

OnnxValue ReadValue(ByteRange info) {
    OnnxValue value;
    Once type;
    WireReader reader(info);
    while (reader.Next()) {
        if (reader.field() == 1) {
            value.name = reader.bytes().ToString();
        } else if (reader.field() == 2) {
            type.Take(reader, "a value with two types");
        }
    }
    Once tensor;
    WireReader types(type.bytes);
    while (types.Next()) {
        if (types.field() == 1) {
            tensor.Take(types, "a value with two types");
        }
    }
    if (!reader.ok() || !types.ok()) {
        Refuse("a value is malformed");
    }
    ReadTensorType(tensor.bytes, value);
    return value;
}

void ReadGraph(ByteRange graph, const GraphCheck& check, OnnxModel& model) {
    WireReader reader(graph);
    while (reader.Next()) {
        if (reader.field() == 2) {
            model.name = reader.bytes().ToString();
        } else if (reader.field() == 11) {
            OnnxValue input = ReadValue(reader.bytes());
            if (check.initializers().count(input.name) == 0) {
                model.inputs.push_back(std::move(input));
            }
        } else if (reader.field() == 12) {
            model.outputs.push_back(ReadValue(reader.bytes()));
        }
    }
    if (model.inputs.size() > kMostTensors || model.outputs.size() > kMostTensors) {
        Refuse("the model has more than " + std::to_string(kMostTensors) + " inputs or outputs");
    }
}

int64_t ReadOperatorSet(ByteRange operatorSet) {
    std::string domain;
    int64_t version = 0;
    WireReader reader(operatorSet);
    while (reader.Next()) {
        if (reader.field() == 1) {
            domain = reader.bytes().ToString();
        } else if (reader.field() == 2) {
            version = static_cast<int64_t>(reader.value());
        }
    }
    return domain.empty() || domain == "ai.onnx" ? version : 0;
}

void ReadFile(ByteRange file, OnnxModel& model) {
    Once graph;
    GraphCheck check;
    WireReader reader(file);
    while (reader.Next()) {
        if (reader.field() == 7) {
            graph.Take(reader, "more than one graph");
        } else if (reader.field() == 8 && reader.type() == WireReader::kBytes) {
            const int64_t version = ReadOperatorSet(reader.bytes());
            model.operatorSet = version != 0 ? version : model.operatorSet;
        } else if (reader.field() == 25 && reader.type() == WireReader::kBytes) {
            check.AddFunction(reader.bytes());
        }
    }
    if (!reader.ok() || !graph.seen) {
        Refuse("not an ONNX model");
    }
    check.CheckGraph(graph.bytes);
    ReadGraph(graph.bytes, check, model);
    model.constantNodes = check.constantNodes();
    model.rereads = check.rereads();
    model.smallInputs = check.smallInputs();
}

}  // namespace

bool ReadOnnxModel(ByteRange file, OnnxModel& model, std::string& reason) {
    model = OnnxModel();
    try {
        ReadFile(file, model);
    } catch (const std::exception& error) {
        reason = error.what();
        return false;
    }
    return true;
}

}  // namespace orva::reference
