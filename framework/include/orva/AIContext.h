/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <map>
#include <string>

namespace orva {

// Named text parameters that travel with one request and come back with its result.
//
// Text form: a JSON object whose values are strings; the empty text is the empty context.
class AIContext {
public:
    // Replaces the content by what a text says. False, and nothing changed, when it is malformed.
    bool Deserialize(std::string text);
    std::string Serialize() const;

    // The parameter's value; empty when there is none.
    std::string GetPara(const std::string& name) const;
    void SetPara(const std::string& name, const std::string& value);
    const std::map<std::string, std::string>& paras() const { return paras_; }

private:
    std::map<std::string, std::string> paras_;
};

}  // namespace orva
