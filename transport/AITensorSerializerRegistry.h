/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include <orva/IAITensor.h>

#include "common/Interfaces.h"
#include "common/Mutex.h"

namespace orva::hidl {

// How the tensors of one type cross the process boundary. Both answer 0 success, 1 failure.
using SerializeFunc = uint32_t (*)(AITensorHandle& out, const std::shared_ptr<IAITensor>& tensor);
using DeserializeFunc = uint32_t (*)(std::shared_ptr<IAITensor>& tensor, const AITensorHandle& in);

// The process-wide table of tensor serializers by type name. Filled while the library is loaded;
// afterwards SerializeTo and DeserializeFrom may be called from any thread.
class AITensorSerializerRegistry {
public:
    static AITensorSerializerRegistry* GetInstance();
    virtual ~AITensorSerializerRegistry() = default;

    // Sets both functions of a type, in place of earlier ones. Only while the library is loaded.
    void RegisterFunc(const std::string& type, SerializeFunc serialize,
                      DeserializeFunc deserialize);

    // Describes a tensor, which must not be null, by a handle that may be sent to a peer. The
    // handle can borrow the tensor's descriptors, so it is valid as long as the tensor.
    // 0 success; 1 the type has no serializer, or its serializer failed.
    uint32_t SerializeTo(AITensorHandle& out, const std::shared_ptr<IAITensor>& tensor)
            ORVA_NO_THREAD_SAFETY_ANALYSIS;  // nothing is registered any more by then

    // Fills a tensor that the factory has made for `in.type`. `in` is not needed afterwards.
    // 0 success; 1 the tensor is null, its type has no serializer, or its serializer failed.
    uint32_t DeserializeFrom(std::shared_ptr<IAITensor>& tensor, const AITensorHandle& in)
            ORVA_NO_THREAD_SAFETY_ANALYSIS;  // as SerializeTo

private:
    AITensorSerializerRegistry() = default;

    std::map<std::string, SerializeFunc, std::less<>> serializers_ ORVA_GUARDED_BY(mutex_);
    std::map<std::string, DeserializeFunc, std::less<>> deserializers_ ORVA_GUARDED_BY(mutex_);
    Mutex mutex_;
};

// Registers a serializer pair, which stays registered. Meant for static objects.
struct AITensorSerializerRegistrar {
    AITensorSerializerRegistrar(const std::string& type, SerializeFunc serialize,
                                DeserializeFunc deserialize) {
        AITensorSerializerRegistry::GetInstance()->RegisterFunc(type, serialize, deserialize);
    }
};

}  // namespace orva::hidl
