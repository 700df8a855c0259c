/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include <orva/AIModelManagerListener.h>

#include "client/Client.h"

namespace orva::reference {

// Calls a model manager's listener between the hooks that Settings.h speaks of. May be used from
// any thread.
class Delivery : public AIModelManagerListener {
public:
    // The listener's session is the client's.
    Delivery(std::shared_ptr<AIModelManagerListener> listener, std::shared_ptr<Client> client)
            : listener_(std::move(listener)), client_(std::move(client)) {}

    void OnProcessDone(const AIContext& context, int32_t result,
                       const std::vector<std::shared_ptr<IAITensor>>& outputs) override;
    void OnServiceDied() override { listener_->OnServiceDied(); }

private:
    const std::shared_ptr<AIModelManagerListener> listener_;
    const std::shared_ptr<Client> client_;
};

}  // namespace orva::reference
