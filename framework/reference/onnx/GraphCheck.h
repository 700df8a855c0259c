/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "onnx/WireReader.h"

namespace orva::reference {

// The nodes of a model's graphs and functions: what they are made of, how deep they nest, and how
// many they are once each function stands where it is called. Throws std::runtime_error with the
// reason for which the model is refused.
class GraphCheck {
public:
    // The functions of the model, which call each other in any order but never themselves.
    void AddFunction(ByteRange function);

    // Checks the model's graph; the functions must have been added.
    void CheckGraph(ByteRange graph);

    // Values that stand in the file, by the names that the model's graph has for them.
    const std::set<std::string>& initializers() const { return initializers_; }
    // Nodes of which no input is a value that only a request brings, wherever they stand.
    size_t constantNodes() const { return constantNodes_; }
    // Whether a node reads its numbers more than once, and counts on their being the same.
    bool rereads() const { return rereads_; }
    // Inputs of the model's graph whose numbers must be small, as IsSmall has it.
    const std::set<std::string>& smallInputs() const { return smallInputs_; }

private:
    struct Function {
        std::vector<ByteRange> nodes;
        size_t items = 0;  // 0 before they have been counted
        size_t height = 0;
        bool counting = false;
    };

    // What stands where a node does: its graph's, or its function's.
    struct Scope {
        std::vector<ByteRange> nodes;
        // A wrong file may have several of one name.
        std::multimap<std::string, ByteRange> tensors;  // initializers
        std::multimap<std::string, ByteRange>
                makers;  // nodes by their outputs, once they are asked for
    };

    // Each answers how many items there are.
    size_t CountGraph(ByteRange graph);
    size_t CountNodes(Scope& scope);
    size_t CountNode(ByteRange node);
    size_t CountAttribute(ByteRange attribute);
    size_t CountInnerGraph(ByteRange graph);
    size_t CountFunction(Function& function);
    void CheckDiagonal(const std::string& value);
    // Notes that something is so deep within graphs and functions.
    void Reach(size_t depth);
    void NoteConstant(const std::vector<std::string>& inputs,
                      const std::vector<std::string>& outputs, const std::string& type);

    // By domain and name, with a NUL between them.
    std::map<std::string, Function> functions_;
    std::set<std::string> initializers_;
    std::set<std::string> constants_;
    // Where the count is, and the deepest that it has been.
    size_t depth_ = 0;
    size_t deepest_ = 0;
    size_t constantNodes_ = 0;
    bool rereads_ = false;
    std::set<std::string> smallInputs_;
    Scope* scope_ = nullptr;
};

}  // namespace orva::reference
