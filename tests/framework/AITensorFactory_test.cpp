/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <gtest/gtest.h>
#include <orva/AITensorFactory.h>

#include "Support.h"

namespace orva {
namespace {

std::shared_ptr<IAITensor> MakeSmall(const AITensorDescription& description) {
    return std::make_shared<test::TestTensor>(0, std::vector<uint8_t>(1), description.type());
}
std::shared_ptr<IAITensor> MakeLarge(const AITensorDescription& description) {
    return std::make_shared<test::TestTensor>(0, std::vector<uint8_t>(100), description.type());
}
std::shared_ptr<IAITensor> MakeNone(const AITensorDescription&) {
    return nullptr;
}

AITensorDescription Type(const char* name) {
    AITensorDescription description;
    description.set_type(name);
    return description;
}

int SizeOf(const char* type) {
    const auto tensor = AITensorFactory::GetInstance()->CreateTensor(type);
    return tensor == nullptr ? -1 : static_cast<test::TestTensor&>(*tensor).GetSize();
}

TEST(AITensorFactory, TheLatestRegistrationOfATypeCounts) {
    AITensorFactory& factory = *AITensorFactory::GetInstance();
    factory.RegisterTensor(Type("stacked"), MakeSmall);
    factory.RegisterTensor(Type("other"), MakeSmall);
    EXPECT_EQ(1, SizeOf("stacked"));
    EXPECT_STREQ("stacked", factory.CreateTensor("stacked")->GetTypeName());
    factory.RegisterTensor(Type("stacked"), MakeLarge);
    EXPECT_EQ(100, SizeOf("stacked"));
    factory.RegisterTensor(Type("stacked"), MakeNone);
    EXPECT_EQ(-1, SizeOf("stacked"));

    factory.UnRegisterTensor(Type("stacked"));
    EXPECT_EQ(100, SizeOf("stacked"));
    factory.UnRegisterTensor(Type("stacked"));
    EXPECT_EQ(1, SizeOf("stacked"));
    factory.UnRegisterTensor(Type("stacked"));
    EXPECT_EQ(-1, SizeOf("stacked"));
    factory.UnRegisterTensor(Type("stacked"));
    EXPECT_EQ(1, SizeOf("other"));
    factory.UnRegisterTensor(Type("other"));
}

TEST(AITensorFactory, ATypeNobodyRegisteredMakesNothing) {
    EXPECT_EQ(-1, SizeOf(""));
    EXPECT_EQ(-1, SizeOf("never heard of"));
    AITensorFactory::GetInstance()->UnRegisterTensor(Type(""));
}

}  // namespace
}  // namespace orva
