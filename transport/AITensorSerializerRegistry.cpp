/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/AITensorSerializerRegistry.h"

#include "common/Log.h"
#include "common/StatusCodes.h"
#include "transport/LogTag.h"

namespace orva::hidl {

AITensorSerializerRegistry* AITensorSerializerRegistry::GetInstance() {
    static AITensorSerializerRegistry registry;
    return &registry;
}

void AITensorSerializerRegistry::RegisterFunc(const std::string& type, SerializeFunc serialize,
                                              DeserializeFunc deserialize) {
    MutexLock lock(mutex_);
    serializers_[type] = serialize;
    deserializers_[type] = deserialize;
    ORVA_LOGI(kBufferTag, "Tensor Serializer register success! type is :%s.", type.c_str());
}

uint32_t AITensorSerializerRegistry::SerializeTo(AITensorHandle& out,
                                                 const std::shared_ptr<IAITensor>& tensor) {
    const char* const type = tensor->GetTypeName();
    if (type == nullptr) {
        ORVA_LOGE(kBufferTag, "Tensor name is nullptr.");
        return kTransportFailure;
    }
    const auto found = serializers_.find(type);
    if (found == serializers_.end()) {
        ORVA_LOGE(kBufferTag, "Cannot find AITensorSerializer, type %s.", type);
        return kTransportFailure;
    }
    return found->second(out, tensor);
}

uint32_t AITensorSerializerRegistry::DeserializeFrom(std::shared_ptr<IAITensor>& tensor,
                                                     const AITensorHandle& in) {
    if (tensor == nullptr) {
        ORVA_LOGE(kBufferTag, "tensor is nullptr.");
        return kTransportFailure;
    }
    const char* const type = tensor->GetTypeName();
    if (type == nullptr) {
        ORVA_LOGE(kBufferTag, "Tensor name is nullptr.");
        return kTransportFailure;
    }
    const auto found = deserializers_.find(type);
    if (found == deserializers_.end()) {
        ORVA_LOGE(kBufferTag, "Cannot find AITensorSerializer, type %s.", type);
        return kTransportFailure;
    }
    return found->second(tensor, in);
}

}  // namespace orva::hidl
