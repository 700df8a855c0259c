/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/AITensorSerializerRegistry.h"

#include <gtest/gtest.h>

#include "support/LogCapture.h"
#include "transport/BufferTensorSerializer.h"

namespace orva::hidl {
namespace {

using test::LogCapture;
using test::LogLine;

constexpr char kTag[] = "AINeuralNetworkBufferHIDL";

class NamedTensor : public IAITensor {
public:
    explicit NamedTensor(const char* name) : name_(name) {}
    bool Init(const AITensorDescription&) override { return true; }
    const char* GetTypeName() override { return name_; }
    uint32_t GetSerializeSize() override { return 0; }

private:
    const char* const name_;
};

template <uint32_t result>
uint32_t Serialize(AITensorHandle&, const std::shared_ptr<IAITensor>&) {
    return result;
}

template <uint32_t result>
uint32_t Deserialize(std::shared_ptr<IAITensor>&, const AITensorHandle&) {
    return result;
}

TEST(AITensorSerializerRegistry, RefusesWhatItCannotLookUp) {
    AITensorSerializerRegistry& registry = *AITensorSerializerRegistry::GetInstance();
    const struct {
        std::shared_ptr<IAITensor> tensor;
        const char* message;
    } cases[] = {
            {std::make_shared<NamedTensor>(nullptr), "Tensor name is nullptr."},
            {std::make_shared<NamedTensor>("X"), "Cannot find AITensorSerializer, type X."},
            {std::make_shared<NamedTensor>(""), "Cannot find AITensorSerializer, type ."},
    };
    AITensorHandle handle{};
    for (const auto& each : cases) {
        LogCapture log;
        std::shared_ptr<IAITensor> tensor = each.tensor;
        EXPECT_EQ(1U, registry.SerializeTo(handle, tensor));
        EXPECT_EQ(1U, registry.DeserializeFrom(tensor, handle));
        EXPECT_EQ(
                (std::vector<LogLine>{{ANDROID_LOG_ERROR, kTag, "SerializeTo", each.message},
                                      {ANDROID_LOG_ERROR, kTag, "DeserializeFrom", each.message}}),
                log.Take());
    }
    LogCapture log;
    std::shared_ptr<IAITensor> none;
    EXPECT_EQ(1U, registry.DeserializeFrom(none, handle));
    EXPECT_EQ((std::vector<LogLine>{
                      {ANDROID_LOG_ERROR, kTag, "DeserializeFrom", "tensor is nullptr."}}),
              log.Take());
}

}  // namespace
}  // namespace orva::hidl
