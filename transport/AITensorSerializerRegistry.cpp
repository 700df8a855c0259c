/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/AITensorSerializerRegistry.h"

#include "common/Log.h"
#include "common/StatusCodes.h"
#include "transport/AINeuralNetworkBufferHIDL.h"

namespace orva::hidl {

namespace {

constexpr const char* kLogTag = AINeuralNetworkBufferHIDL::kLogTag;

// The function of a tensor's type; null, with a line in the log, when there is none.
template <typename Table>
typename Table::mapped_type FindFor(IAITensor& tensor, const Table& table,
                                    const LogSource& source) {
    const char* const type = tensor.GetTypeName();
    if (type == nullptr) {
        ORVA_LOG_FROM(source, ANDROID_LOG_ERROR, kLogTag, "Tensor name is nullptr.");
        return nullptr;
    }
    const auto found = table.find(type);
    if (found == table.end()) {
        ORVA_LOG_FROM(source, ANDROID_LOG_ERROR, kLogTag,
                      "Cannot find AITensorSerializer, type %s.", type);
        return nullptr;
    }
    return found->second;
}

}  // namespace

AITensorSerializerRegistry* AITensorSerializerRegistry::GetInstance() {
    static AITensorSerializerRegistry registry;
    return &registry;
}

void AITensorSerializerRegistry::RegisterFunc(const std::string& type, SerializeFunc serialize,
                                              DeserializeFunc deserialize) {
    MutexLock lock(mutex_);
    serializers_[type] = serialize;
    deserializers_[type] = deserialize;
    ORVA_LOGI("Tensor Serializer register success! type is :%s.", type.c_str());
}

uint32_t AITensorSerializerRegistry::SerializeTo(AITensorHandle& out,
                                                 const std::shared_ptr<IAITensor>& tensor) {
    const SerializeFunc serialize = FindFor(*tensor, serializers_, ORVA_HERE);
    return serialize != nullptr ? serialize(out, tensor) : kTransportFailure;
}

uint32_t AITensorSerializerRegistry::DeserializeFrom(std::shared_ptr<IAITensor>& tensor,
                                                     const AITensorHandle& in) {
    if (tensor == nullptr) {
        ORVA_LOGE("tensor is nullptr.");
        return kTransportFailure;
    }
    const DeserializeFunc deserialize = FindFor(*tensor, deserializers_, ORVA_HERE);
    return deserialize != nullptr ? deserialize(tensor, in) : kTransportFailure;
}

}  // namespace orva::hidl
