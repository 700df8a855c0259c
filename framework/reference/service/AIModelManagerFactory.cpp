/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AIModelManagerFactory.h>

#include <exception>
#include <memory>
#include <utility>

#include <orva/reference/ModelManager.h>
#include <orva/reference/ModelManagerRegistry.h>

#include "base/Log.h"
#include "base/Mutex.h"
#include "client/SessionShare.h"

namespace orva {

namespace reference {

namespace {

struct Registry {
    Mutex mutex;
    ModelManagerCreator creator ORVA_GUARDED_BY(mutex);
};

Registry& TheRegistry() {
    // Never destroyed: calls may come while the process exits.
    static auto& registry = *new Registry;
    return registry;
}

// One that holds one of its client's sessions.
class CountedManager : public ModelManager {
public:
    explicit CountedManager(std::unique_ptr<SessionShare> share) : share_(std::move(share)) {}

private:
    const std::unique_ptr<SessionShare> share_;
};

AIModelManager* MakeCounted() {
    auto share = std::make_unique<SessionShare>();
    return share->taken() ? new CountedManager(std::move(share)) : nullptr;
}

}  // namespace

void SetModelManagerCreator(ModelManagerCreator creator) {
    Registry& registry = TheRegistry();
    MutexLock lock(registry.mutex);
    registry.creator.swap(creator);
}

}  // namespace reference

AIModelManagerFactory* AIModelManagerFactory::Instance() {
    static AIModelManagerFactory factory;
    return &factory;
}

AIModelManager* AIModelManagerFactory::createModelManager() {
    reference::ModelManagerCreator creator;
    {
        reference::Registry& registry = reference::TheRegistry();
        reference::MutexLock lock(registry.mutex);
        creator = registry.creator;
    }
    try {
        return creator ? creator() : reference::MakeCounted();
    } catch (const std::exception& error) {
        ORVA_LOGE("cannot make a model manager: %s", error.what());
        return nullptr;
    }
}

}  // namespace orva
