/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace orva {

// One model: what it is, and, where it was given, its bytes.
//
// Text form: a JSON object with the string members "name" and "type" and an object "paras" of
// further strings, each of which may be missing; the bytes are not part of it.
class AIModelDescription {
public:
    // Replaces name, type and parameters by what a text says; the bytes stay. False, and nothing
    // changed, when it is malformed.
    bool ParseFromString(const std::string& text);
    std::string SerializeToString() const;

    const std::string& name() const { return name_; }
    void set_name(const std::string& name) { name_ = name; }
    const std::string& type() const { return type_; }
    void set_type(const std::string& type) { type_ = type; }
    const std::map<std::string, std::string>& paras() const { return paras_; }
    void set_para(const std::string& name, const std::string& value) { paras_[name] = value; }

    // Copies `size` bytes; they may be released as soon as the call has returned. Copies of the
    // description share the bytes. There are none afterwards when there is no memory for them, or
    // they are more than the framework takes.
    void set_data(const void* data, size_t size);
    // Null and 0 while there are no bytes.
    const uint8_t* data() const { return data_ ? data_->data() : nullptr; }
    size_t data_size() const { return data_ ? data_->size() : 0; }

private:
    std::string name_;
    std::string type_;
    std::map<std::string, std::string> paras_;
    std::shared_ptr<const std::vector<uint8_t>> data_;
};

}  // namespace orva
