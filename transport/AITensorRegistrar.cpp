/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/AITensorRegistrar.h"

#include <orva/AITensorDescription.h>

namespace orva::hidl {

AITensorRegistrar::AITensorRegistrar(const std::string& type, AITensorCreator creator) {
    if (AITensorFactory* const factory = AITensorFactory::GetInstance()) {
        AITensorDescription description;
        description.set_type(type);
        factory->RegisterTensor(description, creator);
        type_ = type;
    }
}

AITensorRegistrar::~AITensorRegistrar() {
    if (AITensorFactory* const factory = AITensorFactory::GetInstance()) {
        AITensorDescription description;
        description.set_type(type_);
        factory->UnRegisterTensor(description);
    }
}

}  // namespace orva::hidl
