/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <string>

#include <orva/AIServiceBase.h>

namespace orva {

// Makes service nodes by type name. May be called from any thread.
class AINNNodeFactory {
public:
    static AINNNodeFactory* GetInstance();

    // A new node; empty when there is no node type of that name.
    std::shared_ptr<AIServiceBase> CreateNNNode(const std::string& type);
};

}  // namespace orva
