/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AITensorFactory.h>

#include <map>
#include <new>
#include <vector>

#include "base/Log.h"
#include "base/Mutex.h"

namespace orva {

using reference::Mutex;
using reference::MutexLock;

struct AITensorFactory::State {
    Mutex mutex;
    std::map<std::string, std::vector<AITensorCreator>> creators ORVA_GUARDED_BY(mutex);
};

AITensorFactory::AITensorFactory() : state_(std::make_unique<State>()) {}
AITensorFactory::~AITensorFactory() = default;

AITensorFactory* AITensorFactory::GetInstance() {
    // Never destroyed: libraries unregister their types from their own destructors, at any time.
    static AITensorFactory* const instance = new AITensorFactory;
    return instance;
}

void AITensorFactory::RegisterTensor(const AITensorDescription& description,
                                     AITensorCreator creator) {
    MutexLock lock(state_->mutex);
    state_->creators[description.type()].push_back(creator);
}

void AITensorFactory::UnRegisterTensor(const AITensorDescription& description) {
    MutexLock lock(state_->mutex);
    const auto found = state_->creators.find(description.type());
    if (found == state_->creators.end()) {
        return;
    }
    found->second.pop_back();
    if (found->second.empty()) {
        state_->creators.erase(found);
    }
}

std::shared_ptr<IAITensor> AITensorFactory::CreateTensor(const std::string& type) {
    AITensorCreator creator = nullptr;
    {
        MutexLock lock(state_->mutex);
        const auto found = state_->creators.find(type);
        if (found != state_->creators.end()) {
            creator = found->second.back();
        }
    }
    if (creator == nullptr) {
        ORVA_LOGE("no tensor type %s", type.c_str());
        return nullptr;
    }
    AITensorDescription description;
    description.set_type(type);
    return creator(description);
}

}  // namespace orva
