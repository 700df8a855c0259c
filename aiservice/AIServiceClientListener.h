/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <orva/AIServiceListener.h>

#include "common/Session.h"

namespace orva::hidl {

class AIServiceHIDL;

// What a node reports to: passes completions on to the service, with the session they belong to.
// The node owns it; the service outlives it. Called on threads of the node's choosing.
class AIServiceClientListener : public AIServiceListener {
public:
    // `counted` is the session that completions are counted for; null where they are not.
    AIServiceClientListener(std::string id, AIServiceHIDL* owner,
                            std::shared_ptr<SessionRecord> counted = nullptr)
            : serviceId(std::move(id)), service(owner), session_(std::move(counted)) {}

    void OnProcessDone(const AIContext& context, int32_t result,
                       const std::vector<std::shared_ptr<IAITensor>>& outputs) override;
    // Nothing: a client learns of its session's end by its next request.
    void OnServiceDied() override {}

private:
    const std::string serviceId;
    AIServiceHIDL* const service;
    const std::shared_ptr<SessionRecord> session_;
};

}  // namespace orva::hidl
