/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AITensorFactory.h>

#include <map>
#include <memory>
#include <new>
#include <vector>

#include "base/Log.h"
#include "base/Mutex.h"

namespace orva {

using reference::Mutex;
using reference::MutexLock;

struct AITensorFactory::State {
    struct Type {
        explicit Type(const std::string& name) { description.set_type(name); }
        AITensorDescription description;  // What a creator is called with; never changes.
        std::vector<AITensorCreator> creators;
    };

    Mutex mutex;
    std::map<std::string, std::shared_ptr<Type>> types ORVA_GUARDED_BY(mutex);
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
    std::shared_ptr<State::Type>& type = state_->types[description.type()];
    if (type == nullptr) {
        type = std::make_shared<State::Type>(description.type());
    }
    type->creators.push_back(creator);
}

void AITensorFactory::UnRegisterTensor(const AITensorDescription& description) {
    MutexLock lock(state_->mutex);
    const auto found = state_->types.find(description.type());
    if (found == state_->types.end()) {
        return;
    }
    found->second->creators.pop_back();
    if (found->second->creators.empty()) {
        state_->types.erase(found);
    }
}

std::shared_ptr<IAITensor> AITensorFactory::CreateTensor(const std::string& type) {
    std::shared_ptr<const State::Type> known;
    AITensorCreator creator = nullptr;
    {
        MutexLock lock(state_->mutex);
        const auto found = state_->types.find(type);
        if (found != state_->types.end()) {
            known = found->second;
            creator = known->creators.back();
        }
    }
    if (creator == nullptr) {
        ORVA_LOGE("no tensor type %s", type.c_str());
        return nullptr;
    }
    return creator(known->description);
}

}  // namespace orva
