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

#include <orva/AIContext.h>
#include <orva/IAITensor.h>

#include "common/Session.h"

namespace orva::hidl {

// What a framework object reports to: passes completions on to the service, with the session they
// belong to. The framework's object owns it; the service outlives it. Called on threads of the
// framework's choosing.
template <typename FrameworkListener, typename Service>
class CompletionListener : public FrameworkListener {
public:
    // `counted` is the session that completions are counted for; null where they are not.
    CompletionListener(std::string id, Service* owner,
                       std::shared_ptr<SessionRecord> counted = nullptr)
            : serviceId(std::move(id)), service(owner), session_(std::move(counted)) {}

    void OnProcessDone(const AIContext& context, int32_t result,
                       const std::vector<std::shared_ptr<IAITensor>>& outputs) override {
        // Copies: the client may end its session meanwhile, and this object with it.
        const std::shared_ptr<SessionRecord> counted = session_;
        if (service != nullptr) {
            service->OnProcessDone(std::string(serviceId), context, result, outputs);
        }
        if (counted != nullptr) {
            counted->RequestEnds(true);
        }
    }
    // Nothing: a client learns of its session's end by its next request.
    void OnServiceDied() override {}

private:
    const std::string serviceId;
    Service* const service;
    const std::shared_ptr<SessionRecord> session_;
};

}  // namespace orva::hidl
