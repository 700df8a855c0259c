/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "manager/Delivery.h"

#include <orva/reference/Settings.h>

#include "base/Mutex.h"

namespace orva::reference {

namespace {

Mutex hooksMutex;
DeliveryHooks hooksInUse ORVA_GUARDED_BY(hooksMutex);

DeliveryHooks Hooks() {
    MutexLock lock(hooksMutex);
    return hooksInUse;
}

}  // namespace

void UseDeliveryHooks(DeliveryHooks hooks) {
    MutexLock lock(hooksMutex);
    hooksInUse = hooks;
}

void Delivery::OnProcessDone(const AIContext& context, int32_t result,
                             const std::vector<std::shared_ptr<IAITensor>>& outputs) {
    const DeliveryHooks hooks = Hooks();
    if (hooks.before == nullptr || hooks.after == nullptr) {
        listener_->OnProcessDone(context, result, outputs);
        return;
    }
    MutexLock oneAtATime(client_->deliveries);
    hooks.before();
    listener_->OnProcessDone(context, result, outputs);
    hooks.after();
}

}  // namespace orva::reference
