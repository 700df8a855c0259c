/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace orva {

// One named parameter of a tensor description; name and value are text.
class AITensorParaDescription {
public:
    AITensorParaDescription() = default;
    AITensorParaDescription(std::string name, std::string value)
            : name_(std::move(name)), value_(std::move(value)) {}

    const std::string& name() const { return name_; }
    const std::string& value() const { return value_; }
    void set_name(const std::string& name) { name_ = name; }
    void set_value(const std::string& value) { value_ = value; }

private:
    std::string name_;
    std::string value_;
};

// What a tensor is to be: its type name and an ordered list of parameters. A name may occur more
// than once; what that means is the reader's rule.
class AITensorDescription {
public:
    const std::string& type() const { return type_; }
    void set_type(const std::string& type) { type_ = type; }

    const std::vector<AITensorParaDescription>& paras() const { return paras_; }
    void add_para(const std::string& name, const std::string& value) {
        paras_.emplace_back(name, value);
    }

private:
    std::string type_;
    std::vector<AITensorParaDescription> paras_;
};

}  // namespace orva
