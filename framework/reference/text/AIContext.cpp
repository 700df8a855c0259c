/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AIContext.h>

#include "text/TextForm.h"

namespace orva {

// The API has it by value. NOLINTNEXTLINE(performance-unnecessary-value-param)
bool AIContext::Deserialize(std::string text) {
    return reference::ParseTextMap(text, paras_);
}

std::string AIContext::Serialize() const {
    return reference::WriteTextMap(paras_);
}

std::string AIContext::GetPara(const std::string& name) const {
    const auto found = paras_.find(name);
    return found == paras_.end() ? std::string() : found->second;
}

void AIContext::SetPara(const std::string& name, const std::string& value) {
    paras_[name] = value;
}

}  // namespace orva
