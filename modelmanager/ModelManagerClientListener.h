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

#include <orva/AIModelManagerListener.h>

#include "common/Session.h"

namespace orva::hidl {

class ModelManagerServiceHIDL;

// What a model manager reports to: passes completions on to the service, with the session they
// belong to. The model manager owns it; the service outlives it. Called on threads of the model
// manager's choosing.
class ModelManagerClientListener : public AIModelManagerListener {
public:
    // `counted` is the session that completions are counted for; null where they are not.
    ModelManagerClientListener(std::string id, ModelManagerServiceHIDL* owner,
                               std::shared_ptr<SessionRecord> counted = nullptr)
            : serviceId(std::move(id)), service(owner), session_(std::move(counted)) {}
    ~ModelManagerClientListener() override { service = nullptr; }

    void OnProcessDone(const AIContext& context, int32_t result,
                       const std::vector<std::shared_ptr<IAITensor>>& outputs) override;
    // Only logged: a client learns of its session's end by its next request.
    void OnServiceDied() override;

private:
    const std::string serviceId;
    ModelManagerServiceHIDL* service;
    const std::shared_ptr<SessionRecord> session_;
};

}  // namespace orva::hidl
