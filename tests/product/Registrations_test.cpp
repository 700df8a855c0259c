/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <orva/AITensorFactory.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "support/LogCapture.h"
#include "support/ResourceTest.h"

namespace {

// What libraries did to the factory, in order: "+type" or "-type".
std::vector<std::string> history;
std::vector<orva::AITensorCreator> creators;

}  // namespace

// A factory that only writes down, in place of the framework's: the libraries below look for it in
// the program first.
namespace orva {

struct AITensorFactory::State {};
AITensorFactory::AITensorFactory() = default;
AITensorFactory::~AITensorFactory() = default;

AITensorFactory* AITensorFactory::GetInstance() {
    static AITensorFactory factory;
    return &factory;
}

void AITensorFactory::RegisterTensor(const AITensorDescription& description,
                                     AITensorCreator creator) {
    creators.push_back(creator);
    history.push_back("+" + description.type());
}

void AITensorFactory::UnRegisterTensor(const AITensorDescription& description) {
    history.push_back("-" + description.type());
}

}  // namespace orva

namespace orva::test {
namespace {

class Registrations : public ResourceTest, public testing::WithParamInterface<const char*> {};

TEST_P(Registrations, SharedMemoryComesBeforeIonAndGoesAfterIt) {
    history.clear();
    creators.clear();
    LogCapture log;
    void* const library = dlopen(GetParam(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, library) << dlerror();
    EXPECT_EQ((std::vector<std::string>{"+AINeuralNetworkBuffer", "+AINeuralNetworkIonBuffer",
                                        "+AINeuralNetworkIonBuffer"}),
              history);
    std::vector<std::string> messages;
    for (const LogLine& line : log.Take(ANDROID_LOG_INFO)) {
        messages.push_back(line.tag + " " + line.message);
    }
    const std::string registered =
            "AINeuralNetworkBufferHIDL Tensor Serializer register success! type is :";
    EXPECT_EQ((std::vector<std::string>{registered + "AINeuralNetworkBuffer.",
                                        registered + "AINeuralNetworkIonBuffer.",
                                        registered + "AINeuralNetworkIonBuffer."}),
              messages);

    // Of the two under the ION name the last is the ION tensor's: each says itself that there is no
    // memory for it.
    ASSERT_EQ(3U, creators.size());
    AITensorDescription tooLarge;
    tooLarge.add_para("size", "4294967295");
    for (const auto& [creator, tag] : {std::pair(1, "AINeuralNetworkBufferHIDL"),
                                       std::pair(2, "AINeuralNetworkIonBufferHIDL")}) {
        const std::shared_ptr<IAITensor> tensor = creators[creator]({});
        EXPECT_STREQ("AINeuralNetworkIonBuffer", tensor->GetTypeName());
        EXPECT_FALSE(tensor->Init(tooLarge));
        EXPECT_EQ(tag, log.Take(ANDROID_LOG_ERROR).back().tag);
    }

    history.clear();
    ASSERT_EQ(0, dlclose(library));
    EXPECT_EQ(nullptr, dlopen(GetParam(), RTLD_NOW | RTLD_NOLOAD)) << "still loaded";
    EXPECT_EQ((std::vector<std::string>{"-AINeuralNetworkIonBuffer", "-AINeuralNetworkIonBuffer",
                                        "-AINeuralNetworkBuffer"}),
              history);
}

INSTANTIATE_TEST_SUITE_P(Linked, Registrations,
                         testing::Values(ORVA_HIDL_SERVER, REGISTRATIONS_REVERSED));

}  // namespace
}  // namespace orva::test
