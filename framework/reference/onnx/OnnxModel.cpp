/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/OnnxModel.h"

#include <set>
#include <utility>

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
        std::set<std::string> initializers;
        WireReader reader(graph);
        while (reader.Next()) {
            const uint32_t field = reader.field();
            if (field != 1 && field != 5 && field != 11 && field != 12) {
                continue;
            }
            if (reader.type() != WireReader::kBytes) {
                return Refuse("a graph field of a wrong type");
            }
            OnnxValue value;
            std::string name;
            if (field == 1) {
                nodes.push_back(reader.bytes());
            } else if (field == 5) {
                if (!CheckTensor(reader.bytes(), name, reason_)) {
                    return false;
                }
                initializers.insert(std::move(name));
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

    bool CollectInputs(std::set<std::string> initializers) {
        std::vector<OnnxValue> inputs;
        for (OnnxValue& input : model_.inputs) {
            if (initializers.count(input.name) == 0) {
                inputs.push_back(std::move(input));
            }
        }
        model_.inputs = std::move(inputs);
        values_ = std::move(initializers);
        for (const OnnxValue& input : model_.inputs) {
            if (input.name.empty() || !values_.insert(input.name).second) {
                return Refuse("input " + input.name + " is there twice or has no name");
            }
        }
        return true;
    }

    bool CheckNodes(const std::vector<ByteRange>& nodes) {
        for (const ByteRange& node : nodes) {
            if (!CheckNode(node)) {
                return Refuse("a node is malformed");
            }
        }
        return true;
    }

    bool CheckNode(ByteRange node) {
        std::vector<std::string> outputs;
        std::string type;
        size_t inputs = 0;
        WireReader reader(node);
        while (reader.Next()) {
            const uint32_t field = reader.field();
            if (field < 1 || field > 5) {
                continue;
            }
            if (reader.type() != WireReader::kBytes) {
                return false;
            }
            if (field == 1) {
                ++inputs;
                const std::string input = reader.bytes().ToString();
                if (!input.empty() && values_.count(input) == 0) {
                    return Refuse("a node uses " + input + ", which nothing before it makes");
                }
            } else if (field == 2) {
                outputs.push_back(reader.bytes().ToString());
            } else if (field == 4) {
                type = reader.bytes().ToString();
            } else if (field == 5 && !CheckAttribute(reader.bytes())) {
                return false;
            }
        }
        if (!reader.ok() || outputs.empty() || outputs[0].empty()) {
            return false;
        }
        for (std::string& output : outputs) {
            if (!output.empty() && !values_.insert(std::move(output)).second) {
                return Refuse("a value is made twice");
            }
        }
        return true;
    }

    bool CheckAttribute(ByteRange attribute) {
        WireReader reader(attribute);
        std::string name;
        while (reader.Next()) {
            if (reader.field() == 6 || reader.field() == 11) {
                return Refuse("nodes with graphs of their own are not supported");
            }
            if ((reader.field() == 5 || reader.field() == 10) &&
                (reader.type() != WireReader::kBytes ||
                 !CheckTensor(reader.bytes(), name, reason_))) {
                return false;
            }
        }
        return reader.ok();
    }

    bool CheckOutputs() {
        for (const OnnxValue& output : model_.outputs) {
            if (values_.count(output.name) == 0) {
                return Refuse("nothing makes output " + output.name);
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
            WireReader dimension(reader.bytes());
            while (dimension.Next()) {
                if (dimension.field() == 1) {
                    size = static_cast<int64_t>(dimension.value());
                } else if (dimension.field() == 2) {
                    size = -1;
                }
            }
            if (reader.type() != WireReader::kBytes || !dimension.ok() || size < -1 ||
                value.dims.size() == kMaxRank) {
                return Refuse("the shape of " + value.name + " is out of range");
            }
            value.dims.push_back(size);
        }
        return reader.ok();
    }

    OnnxModel& model_;
    std::string& reason_;
    // The names of the values that nodes may use so far.
    std::set<std::string> values_;
};

}  // namespace

bool ReadOnnxModel(ByteRange file, OnnxModel& model, std::string& reason) {
    model = OnnxModel();
    reason.clear();
    return GraphReader(model, reason).ReadFile(file);
}

}  // namespace orva::reference
