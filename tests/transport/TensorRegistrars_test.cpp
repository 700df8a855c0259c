/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "transport/TensorRegistrars.h"

#include <gtest/gtest.h>

#include <optional>

#include "support/ResourceTest.h"
#include "support/Seam.h"
#include "transport/AINeuralNetworkBufferHIDL.h"

namespace {

bool factoryIsGone = false;

}  // namespace

extern "C" {

orva::AITensorFactory* __real__ZN4orva15AITensorFactory11GetInstanceEv();

orva::AITensorFactory* __wrap__ZN4orva15AITensorFactory11GetInstanceEv() {
    return factoryIsGone ? nullptr : __real__ZN4orva15AITensorFactory11GetInstanceEv();
}

}  // extern "C"

namespace orva::hidl {
namespace {

TEST(AITensorRegistrar, DoesNothingWithoutAFactory) {
    AITensorFactory& factory = *AITensorFactory::GetInstance();
    const AITensorCreator create = [](const AITensorDescription&) {
        return NewTensor<AINeuralNetworkBufferHIDL>();
    };
    std::optional<AITensorRegistrar> early, late;
    factoryIsGone = true;
    early.emplace("temporary", create);
    factoryIsGone = false;
    EXPECT_EQ(nullptr, factory.CreateTensor("temporary"));

    // One that registered nothing must not take away what another did.
    late.emplace("temporary", create);
    early.reset();
    EXPECT_NE(nullptr, factory.CreateTensor("temporary"));

    factoryIsGone = true;
    late.reset();
    factoryIsGone = false;
    EXPECT_NE(nullptr, factory.CreateTensor("temporary"));
    AITensorDescription description;
    description.set_type("temporary");
    factory.UnRegisterTensor(description);
}

using LoadTimeRegistrations = test::ResourceTest;

TEST_F(LoadTimeRegistrations, MakeTensorsOfBothTypes) {
    for (const char* type : {"AINeuralNetworkBuffer", "AINeuralNetworkIonBuffer"}) {
        SCOPED_TRACE(type);
        std::shared_ptr<IAITensor> tensor = AITensorFactory::GetInstance()->CreateTensor(type);
        ASSERT_NE(nullptr, tensor);
        EXPECT_STREQ(type, tensor->GetTypeName());
        AITensorHandle handle{};
        EXPECT_EQ(0U, AITensorSerializerRegistry::GetInstance()->SerializeTo(handle, tensor));
        EXPECT_STREQ(type, handle.type.c_str());

        const test::Fault fault(test::Call::NothrowNew);
        EXPECT_EQ(nullptr, AITensorFactory::GetInstance()->CreateTensor(type));
        EXPECT_TRUE(fault.Happened());
    }
}

}  // namespace
}  // namespace orva::hidl
