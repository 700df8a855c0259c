/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/NodeCheck.h"

#include <algorithm>
#include <set>
#include <utility>
#include <vector>

#include "onnx/OnnxModel.h"
#include "onnx/TensorCheck.h"

namespace orva::reference {

namespace {

struct Node {
    std::string type;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
    std::map<std::string, std::vector<int64_t>> numbers;
    // The rank of the tensor among the attributes; -1 without one.
    int tensorRank = -1;
};

// Far beyond any window, stride or padding in use, and small enough to add up without care.
constexpr int64_t kMaxExtent = 1 << 16;
constexpr int64_t kMaxBlock = 1 << 10;

size_t InputsNeeded(const std::string& type) {
    static const std::map<std::string, size_t> needs = {
            {"Add", 2},
            {"And", 2},
            {"BatchNormalization", 5},
            {"BitShift", 2},
            {"Constant", 0},
            {"Conv", 2},
            {"ConvTranspose", 2},
            {"CumSum", 2},
            {"DequantizeLinear", 2},
            {"Div", 2},
            {"Equal", 2},
            {"Expand", 2},
            {"GRU", 3},
            {"Gather", 2},
            {"GatherElements", 2},
            {"GatherND", 2},
            {"Gemm", 2},
            {"Greater", 2},
            {"GreaterOrEqual", 2},
            {"InstanceNormalization", 3},
            {"LSTM", 3},
            {"Less", 2},
            {"LessOrEqual", 2},
            {"MatMul", 2},
            {"MaxUnpool", 2},
            {"Mod", 2},
            {"Mul", 2},
            {"Or", 2},
            {"PRelu", 2},
            {"Pow", 2},
            {"QLinearConv", 8},
            {"QLinearMatMul", 8},
            {"QuantizeLinear", 2},
            {"RNN", 3},
            {"RandomNormal", 0},
            {"RandomUniform", 0},
            {"ScatterElements", 3},
            {"ScatterND", 3},
            {"Sub", 2},
            {"Tile", 2},
            {"Where", 3},
            {"Xor", 2},
    };
    const auto found = needs.find(type);
    return found == needs.end() ? 1 : found->second;
}

// The engine believes that every other operator makes one value, and that these make all of theirs.
bool MakesSeveral(const std::string& type) {
    static const std::set<std::string> types = {
            "BatchNormalization", "Dropout", "GRU", "LSTM", "MaxPool", "RNN", "Split"};
    return types.count(type) != 0;
}

bool ReadAttribute(ByteRange attribute, Node& node, std::string& reason) {
    std::string name;
    std::string ignored;
    std::vector<int64_t> numbers;
    WireReader reader(attribute);
    while (reader.Next()) {
        ByteRange bytes = reader.bytes();
        switch (reader.field()) {
        case 1:
            name = bytes.ToString();
            break;
        case 3:
        case 8:
            if (reader.type() == WireReader::kVarint) {
                if (numbers.size() == kMostOnnxItems) {
                    return false;
                }
                numbers.push_back(static_cast<int64_t>(reader.value()));
                break;
            }
            for (uint64_t number = 0; bytes.size != 0;) {
                if (!WireReader::TakeVarint(bytes, number) || numbers.size() == kMostOnnxItems) {
                    return false;
                }
                numbers.push_back(static_cast<int64_t>(number));
            }
            break;
        case 5:
        case 10:
            if (reader.type() != WireReader::kBytes ||
                !CheckTensor(bytes, ignored, node.tensorRank, reason)) {
                return false;
            }
            break;
        case 6:
        case 11:
            reason = "nodes with graphs of their own are not supported";
            return false;
        default:
            break;
        }
    }
    return reader.ok() && node.numbers.emplace(std::move(name), std::move(numbers)).second;
}

bool ReadNode(ByteRange bytes, Node& node, std::string& reason) {
    WireReader reader(bytes);
    while (reader.Next()) {
        const uint32_t field = reader.field();
        if (field >= 1 && field <= 5 && reader.type() != WireReader::kBytes) {
            return false;
        }
        if (node.inputs.size() == kMostOnnxItems || node.outputs.size() == kMostOnnxItems ||
            node.numbers.size() == kMostOnnxItems) {
            return false;
        }
        if (field == 1) {
            node.inputs.push_back(reader.bytes().ToString());
        } else if (field == 2) {
            node.outputs.push_back(reader.bytes().ToString());
        } else if (field == 4) {
            node.type = reader.bytes().ToString();
        } else if (field == 5 && !ReadAttribute(reader.bytes(), node, reason)) {
            return false;
        }
    }
    return reader.ok();
}

bool CheckInputs(const Node& node, const KnownValues& values, std::string& reason) {
    const size_t needed = InputsNeeded(node.type);
    for (size_t i = 0; i < std::max(needed, node.inputs.size()); ++i) {
        const std::string input = i < node.inputs.size() ? node.inputs[i] : std::string();
        if (input.empty() ? i < needed : values.count(input) == 0) {
            reason = node.type + " uses " + (input.empty() ? "too few values" : input) +
                     (input.empty() ? "" : ", which nothing before it makes");
            return false;
        }
    }
    // The engine reads the axis while it loads the model.
    if (node.type == "CumSum" && !values.at(node.inputs[1]).constant) {
        reason = "CumSum along an axis that is not constant";
        return false;
    }
    return true;
}

bool CheckAttributes(const Node& node, const KnownValues& values) {
    if (node.type == "Constant") {
        return node.tensorRank >= 0;
    }
    if (node.type == "DepthToSpace" || node.type == "SpaceToDepth") {
        const auto size = node.numbers.find("blocksize");
        return size != node.numbers.end() && size->second.size() == 1 && size->second[0] > 0 &&
               size->second[0] <= kMaxBlock;
    }
    if (node.type == "Min" || node.type == "Max") {
        const int rank = values.at(node.inputs[0]).rank;
        return std::all_of(node.inputs.begin(), node.inputs.end(), [&](const std::string& input) {
            return !input.empty() && (values.at(input).rank == 0) == (rank == 0);
        });
    }
    return true;
}

bool CheckWindows(const Node& node, const KnownValues& values) {
    static const std::set<std::string> types = {"AveragePool", "Conv",    "ConvTranspose",
                                                "LpPool",      "MaxPool", "QLinearConv"};
    if (types.count(node.type) == 0) {
        return true;
    }
    // The number of spatial dimensions, from whatever tells it; all must tell the same.
    int spatial = -1;
    const auto agrees = [&spatial](int64_t count) {
        spatial = spatial < 0 ? static_cast<int>(count) : spatial;
        return count > 0 && spatial == count;
    };
    const bool weighted = node.type == "Conv" || node.type == "ConvTranspose";
    for (size_t i = 0; i < (weighted ? 2 : 1); ++i) {
        const int rank = values.at(node.inputs[i]).rank;
        if (rank >= 0 && !agrees(rank - 2)) {
            return false;
        }
    }
    for (const auto& [name, numbers] : node.numbers) {
        const bool pads = name == "pads" || name == "output_padding";
        const bool listed = name == "kernel_shape" || name == "strides" || name == "dilations" ||
                            name == "output_shape";
        if (!pads && !listed && name != "group") {
            continue;
        }
        const int64_t least = pads ? 0 : 1;
        for (const int64_t number : numbers) {
            if (number < least || number > kMaxExtent) {
                return false;
            }
        }
        const auto count = static_cast<int64_t>(numbers.size());
        if ((listed && !agrees(count)) ||
            (name == "pads" && (count % 2 != 0 || !agrees(count / 2)))) {
            return false;
        }
    }
    return weighted || node.numbers.count("kernel_shape") != 0;
}

}  // namespace

bool CheckNode(ByteRange bytes, KnownValues& values, std::string& reason) {
    Node node;
    if (!ReadNode(bytes, node, reason) || node.outputs.empty()) {
        return false;
    }
    if (node.outputs.size() > 1 && !MakesSeveral(node.type)) {
        reason = node.type + " with several outputs is not supported";
        return false;
    }
    if (!CheckInputs(node, values, reason)) {
        return false;
    }
    if (!CheckAttributes(node, values) || !CheckWindows(node, values)) {
        reason = node.type + " has attributes that do not fit its data";
        return false;
    }
    for (std::string& output : node.outputs) {
        if (!output.empty() &&
            !values.emplace(std::move(output), ValueFacts{-1, node.type == "Constant", true})
                     .second) {
            reason = "a value is made twice";
            return false;
        }
    }
    return true;
}

}  // namespace orva::reference
