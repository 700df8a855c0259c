/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/TensorRegistrars.h"

namespace orva::hidl {

AITensorRegistrar::AITensorRegistrar(const std::string& type, AITensorCreator creator) {
    AITensorFactory* const factory = AITensorFactory::GetInstance();
    if (factory == nullptr) {
        return;
    }
    AITensorDescription description;
    description.set_type(type);
    factory->RegisterTensor(description, creator);
    type_ = type;
}

AITensorRegistrar::~AITensorRegistrar() {
    AITensorFactory* const factory = AITensorFactory::GetInstance();
    if (factory == nullptr) {
        return;
    }
    if (type_.empty()) {
        factory->UnRegisterTensor(description_);
        return;
    }
    AITensorDescription description;
    description.set_type(type_);
    factory->UnRegisterTensor(description);
}

AITensorSerializerRegistrar::AITensorSerializerRegistrar(const std::string& type,
                                                         SerializeFunc serialize,
                                                         DeserializeFunc deserialize) {
    AITensorSerializerRegistry::GetInstance()->RegisterFunc(type, serialize, deserialize);
}

}  // namespace orva::hidl
