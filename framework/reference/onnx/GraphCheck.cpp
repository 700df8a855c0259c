/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/GraphCheck.h"

#include <algorithm>
#include <utility>

#include "onnx/NumberCheck.h"
#include "onnx/OnnxModel.h"
#include "onnx/Refuse.h"
#include "onnx/TensorCheck.h"

namespace orva::reference {

namespace {

// Graphs within nodes of graphs, and functions that call functions.
constexpr size_t kMaxDepth = 32;

// Operators that sort numbers or go through them twice.
bool Rereads(const std::string& type) {
    static const std::set<std::string> types = {"BeamSearch",  "GreedySearch",      "MaxRoiPool",
                                                "Multinomial", "NonMaxSuppression", "NonZero",
                                                "RoiAlign",    "Sampling",          "TopK",
                                                "Unique",      "WhisperBeamSearch"};
    return types.count(type) != 0;
}

void Require(bool condition, const char* reason) {
    if (!condition) {
        Refuse(reason);
    }
}

// Items add up to what stays far below any number's bounds.
size_t Bounded(size_t items) {
    Require(items <= kMostOnnxItems, "the graph is too large");
    return items;
}

ByteRange BytesOf(const WireReader& reader) {
    Require(reader.type() == WireReader::kBytes, "a graph field of a wrong type");
    return reader.bytes();
}

}  // namespace

void GraphCheck::AddFunction(ByteRange function) {
    Function read;
    std::string name;
    std::string domain;
    WireReader reader(function);
    while (reader.Next()) {
        if (reader.field() == 1) {
            name = reader.bytes().ToString();
        } else if (reader.field() == 7) {
            read.nodes.push_back(BytesOf(reader));
        } else if (reader.field() == 10) {
            domain = reader.bytes().ToString();
        } else if (reader.field() == 11) {
            // Attributes that a function's nodes refer to.
            CountAttribute(BytesOf(reader));
        }
    }
    Require(reader.ok(), "a function is malformed");
    Bounded(functions_.size());
    // What differs in nothing else is told apart by types; each counts as all of them.
    std::vector<ByteRange>& nodes = functions_[domain + '\0' + name].nodes;
    nodes.insert(nodes.end(), read.nodes.begin(), read.nodes.end());
}

void GraphCheck::CheckGraph(ByteRange graph) {
    CountGraph(graph);
    for (auto& [name, function] : functions_) {
        CountFunction(function);
    }
}

void GraphCheck::Reach(size_t depth) {
    Require(depth <= kMaxDepth, "graphs or functions are nested too deeply");
    deepest_ = std::max(deepest_, depth);
}

size_t GraphCheck::CountGraph(ByteRange graph) {
    size_t items = 0;
    Scope scope;
    WireReader reader(graph);
    while (reader.Next()) {
        switch (reader.field()) {
        case 1:
            scope.nodes.push_back(BytesOf(reader));
            break;
        case 5: {
            const std::string name = CheckTensor(BytesOf(reader));
            scope.tensors.emplace(name, reader.bytes());
            if (depth_ == 0) {
                initializers_.insert(name);
                constants_.insert(name);
            }
            break;
        }
        case 11:
        case 12:
        case 13:
            BytesOf(reader);
            break;
        case 15:
            Refuse("sparse tensors are not supported");
        default:
            continue;
        }
        items = Bounded(items + 1);
    }
    Require(reader.ok(), "the graph is malformed");
    return Bounded(items + CountNodes(scope));
}

size_t GraphCheck::CountNodes(Scope& scope) {
    Scope* const outside = std::exchange(scope_, &scope);
    size_t items = 0;
    for (const ByteRange& node : scope.nodes) {
        items = Bounded(items + CountNode(node));
    }
    scope_ = outside;
    return items;
}

size_t GraphCheck::CountNode(ByteRange node) {
    size_t items = 1;
    std::string type;
    std::string domain;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    std::vector<ByteRange> attributes;
    WireReader reader(node);
    while (reader.Next()) {
        switch (reader.field()) {
        case 1:
            inputs.push_back(reader.bytes().ToString());
            break;
        case 2:
            outputs.push_back(reader.bytes().ToString());
            break;
        case 4:
            type = reader.bytes().ToString();
            break;
        case 5:
            items += CountAttribute(BytesOf(reader));
            attributes.push_back(reader.bytes());
            break;
        case 7:
            domain = reader.bytes().ToString();
            break;
        default:
            continue;
        }
        Bounded(items + inputs.size() + outputs.size());
    }
    Require(reader.ok(), "a node is malformed");
    for (const ByteRange& attribute : attributes) {
        CheckNumber(type, attribute);
    }
    if (type == "Trilu" && inputs.size() > 1 && !inputs[1].empty()) {
        CheckDiagonal(inputs[1]);
    }
    rereads_ = rereads_ || Rereads(type);
    const auto called = functions_.find(domain + '\0' + type);
    if (called != functions_.end()) {
        items += CountFunction(called->second);
    }
    if (depth_ == 0) {
        NoteConstant(inputs, outputs, type);
    } else {
        ++constantNodes_;
    }
    return Bounded(items);
}

// It must stand in the file, or be an input of the model's own, which each request's is held
// against.
void GraphCheck::CheckDiagonal(const std::string& value) {
    const char* const kTooFar = "operator Trilu with a diagonal that is computed, or too far off";
    if (scope_->makers.empty()) {
        for (const ByteRange& node : scope_->nodes) {
            for (WireReader reader(node); reader.Next();) {
                if (reader.field() == 2) {
                    scope_->makers.emplace(reader.bytes().ToString(), node);
                }
            }
        }
    }
    const auto holdAll = [&](const std::multimap<std::string, ByteRange>& all,
                             bool (*isSmall)(ByteRange)) {
        const auto [first, last] = all.equal_range(value);
        Require(std::all_of(first, last, [&](const auto& each) { return isSmall(each.second); }),
                kTooFar);
        return first != last;
    };
    const bool initialized = holdAll(scope_->tensors, HasSmallNumbers);
    const bool made = holdAll(scope_->makers, MakesSmallNumbers);
    if (!initialized && !made) {
        Require(depth_ == 0, kTooFar);
        smallInputs_.insert(value);
    }
}

void GraphCheck::NoteConstant(const std::vector<std::string>& inputs,
                              const std::vector<std::string>& outputs, const std::string& type) {
    // The shape of a value can be known when the value is not.
    if (type == "Shape" || type == "Size" ||
        std::all_of(inputs.begin(), inputs.end(), [this](const std::string& input) {
            return input.empty() || constants_.count(input) != 0;
        })) {
        ++constantNodes_;
        constants_.insert(outputs.begin(), outputs.end());
    }
}

size_t GraphCheck::CountAttribute(ByteRange attribute) {
    size_t items = 1;
    // The engine would make one of what stands there twice.
    bool tensor = false;
    bool graph = false;
    WireReader reader(attribute);
    while (reader.Next()) {
        switch (reader.field()) {
        case 5:
            Require(!tensor, "an attribute with two tensors");
            tensor = true;
            CheckTensor(BytesOf(reader));
            break;
        case 10:
            CheckTensor(BytesOf(reader));
            break;
        case 6:
            Require(!graph, "an attribute with two graphs");
            graph = true;
            items += CountInnerGraph(BytesOf(reader));
            break;
        case 11:
            items += CountInnerGraph(BytesOf(reader));
            break;
        case 22:
        case 23:
            Refuse("sparse tensors are not supported");
        default:
            continue;
        }
        items = Bounded(items + 1);
    }
    Require(reader.ok(), "an attribute is malformed");
    return items;
}

size_t GraphCheck::CountInnerGraph(ByteRange graph) {
    Reach(++depth_);
    const size_t items = CountGraph(graph);
    --depth_;
    return items;
}

size_t GraphCheck::CountFunction(Function& function) {
    Require(!function.counting, "a function that calls itself");
    if (function.items != 0) {
        Reach(depth_ + function.height);
        return function.items;
    }
    function.counting = true;
    const size_t outside = deepest_;
    deepest_ = 0;
    Reach(++depth_);
    Scope scope;
    scope.nodes = function.nodes;
    const size_t items = Bounded(1 + CountNodes(scope));
    --depth_;
    function.items = items;
    function.height = deepest_ - depth_;
    function.counting = false;
    deepest_ = std::max(deepest_, outside);
    return items;
}

}  // namespace orva::reference
