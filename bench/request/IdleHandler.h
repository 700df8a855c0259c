/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/reference/NodeStatus.h>
#include <orva/reference/RequestHandler.h>

namespace orva_bench {

// Accepts any request and completes it without a look at its tensors.
class IdleHandler : public orva::reference::RequestHandler {
public:
    int32_t Load(const orva::AIConfig&, std::vector<orva::AIModelDescription>&,
                 orva::reference::Cancellation&) override {
        return orva::reference::kNodeOk;
    }
    int32_t Check(const orva::reference::Request&) const override {
        return orva::reference::kNodeOk;
    }
    int32_t Run(orva::reference::Request&, orva::reference::Cancellation&) override {
        return orva::reference::kNodeOk;
    }
};

}  // namespace orva_bench
