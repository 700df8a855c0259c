/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/OnnxModel.h"

#include <utility>

#include "onnx/EngineTensor.h"
#include "onnx/NodeCheck.h"
#include "onnx/TensorCheck.h"

namespace orva::reference {

namespace {

// Protobuf merges a message that occurs twice. No tool writes such files, and the engine and this
// reader must not see different models.
struct Once {
    ByteRange bytes;
    bool seen = false;

    bool Take(const WireReader& reader) {
        const bool first = !seen && reader.type() == WireReader::kBytes;
        bytes = reader.bytes();
        seen = true;
        return first;
    }
};

class GraphReader {
public:
    GraphReader(OnnxModel& model, std::string& reason) : model_(model), reason_(reason) {}

    bool ReadFile(ByteRange file) {
        Once graph;
        WireReader reader(file);
        while (reader.Next()) {
            if (reader.field() == 7 && !graph.Take(reader)) {
                return Refuse("more than one graph");
            }
        }
        if (!reader.ok() || !graph.seen) {
            return Refuse("not an ONNX model");
        }
        return ReadGraph(graph.bytes);
    }

private:
    bool Refuse(const std::string& reason) {
        if (reason_.empty()) {
            reason_ = reason;
        }
        return false;
    }

    // Nodes may come before what they use in the file, so names are collected first.
    bool ReadGraph(ByteRange graph) {
        std::vector<ByteRange> nodes;
        KnownValues initializers;
        WireReader reader(graph);
        while (reader.Next()) {
            const uint32_t field = reader.field();
            if (field == 2) {
                model_.name = reader.bytes().ToString();
                continue;
            }
            if (field != 1 && field != 5 && field != 11 && field != 12) {
                continue;
            }
            if (reader.type() != WireReader::kBytes) {
                return Refuse("a graph field of a wrong type");
            }
            OnnxValue value;
            std::string name;
            if (nodes.size() == kMostOnnxItems || initializers.size() == kMostOnnxItems ||
                model_.inputs.size() == kMostOnnxItems || model_.outputs.size() == kMostTensors) {
                return Refuse("the graph is too large");
            }
            if (field == 1) {
                nodes.push_back(reader.bytes());
            } else if (field == 5) {
                int rank = 0;
                if (!CheckTensor(reader.bytes(), name, rank, reason_)) {
                    return false;
                }
                initializers[name] = {rank, true, false};
            } else if (!ReadValue(reader.bytes(), value)) {
                return false;
            } else {
                (field == 11 ? model_.inputs : model_.outputs).push_back(std::move(value));
            }
        }
        if (!reader.ok()) {
            return Refuse("the graph is malformed");
        }
        return CollectInputs(std::move(initializers)) && CheckNodes(nodes) && CheckOutputs();
    }

    bool CollectInputs(KnownValues initializers) {
        std::vector<OnnxValue> inputs;
        for (OnnxValue& input : model_.inputs) {
            if (initializers.count(input.name) == 0) {
                inputs.push_back(std::move(input));
            }
        }
        if (inputs.size() > kMostTensors) {
            return Refuse("the model has more than " + std::to_string(kMostTensors) + " inputs");
        }
        model_.inputs = std::move(inputs);
        values_ = std::move(initializers);
        for (const OnnxValue& input : model_.inputs) {
            // The engine guesses at what has no shape, and does not guess well.
            const int rank = static_cast<int>(input.dims.size());
            if (!input.hasShape || input.name.empty() ||
                !values_.emplace(input.name, ValueFacts{rank, false, false}).second) {
                return Refuse("input " + input.name + " has no shape or no name of its own");
            }
        }
        return true;
    }

    bool CheckNodes(const std::vector<ByteRange>& nodes) {
        for (const ByteRange& node : nodes) {
            if (!CheckNode(node, values_, reason_)) {
                return Refuse("a node is malformed");
            }
            if (values_.size() > 2 * kMostOnnxItems) {
                return Refuse("the graph is too large");
            }
        }
        return true;
    }

    bool CheckOutputs() {
        for (const OnnxValue& output : model_.outputs) {
            const auto value = values_.find(output.name);
            if (value == values_.end() || !value->second.computed) {
                return Refuse("no node makes output " + output.name);
            }
        }
        return true;
    }

    bool ReadValue(ByteRange info, OnnxValue& value) {
        Once type;
        WireReader reader(info);
        while (reader.Next()) {
            if (reader.field() == 1) {
                value.name = reader.bytes().ToString();
            } else if (reader.field() == 2 && !type.Take(reader)) {
                return Refuse("a value with two types");
            }
        }
        return (reader.ok() && ReadType(type.bytes, value)) || Refuse("a value is malformed");
    }

    bool ReadType(ByteRange type, OnnxValue& value) {
        Once tensor;
        WireReader reader(type);
        while (reader.Next()) {
            if (reader.field() == 1 && !tensor.Take(reader)) {
                return false;
            }
        }
        if (!reader.ok()) {
            return false;
        }
        Once shape;
        WireReader fields(tensor.bytes);
        while (fields.Next()) {
            if (fields.field() == 1) {
                value.elementType = static_cast<int32_t>(fields.value());
            } else if (fields.field() == 2 && !shape.Take(fields)) {
                return false;
            }
        }
        value.hasShape = shape.seen;
        return fields.ok() && ReadShape(shape.bytes, value);
    }

    bool ReadShape(ByteRange shape, OnnxValue& value) {
        WireReader reader(shape);
        while (reader.Next()) {
            if (reader.field() != 1) {
                continue;
            }
            int64_t size = -1;
            bool inRange = reader.type() == WireReader::kBytes;
            WireReader dimension(reader.bytes());
            while (dimension.Next()) {
                if (dimension.field() == 1) {
                    size = static_cast<int64_t>(dimension.value());
                    inRange = inRange && dimension.type() == WireReader::kVarint && size >= 0;
                } else if (dimension.field() == 2) {
                    size = -1;
                }
            }
            if (!inRange || !dimension.ok() || value.dims.size() == kMaxRank) {
                return Refuse("the shape of " + value.name + " is out of range");
            }
            value.dims.push_back(size);
        }
        return reader.ok();
    }

    OnnxModel& model_;
    std::string& reason_;
    // The names of the values that nodes may use so far.
    KnownValues values_;
};

}  // namespace

bool ReadOnnxModel(ByteRange file, OnnxModel& model, std::string& reason) {
    model = OnnxModel();
    reason.clear();
    return GraphReader(model, reason).ReadFile(file);
}

}  // namespace orva::reference
