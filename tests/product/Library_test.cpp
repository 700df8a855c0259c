/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The library as the service host meets it: what it does at load and unload, and what it serves.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <orva/AITensorFactory.h>

#include <string>

#include "support/LogCapture.h"
#include "support/ResourceTest.h"

namespace {

// What the library did to the factory: "+type" or "-type", in order.
std::string history;

}  // namespace

// A factory that only writes down, in place of the framework's: the library looks for it in the
// program first.
namespace orva {

struct AITensorFactory::State {};
AITensorFactory::AITensorFactory() = default;
AITensorFactory::~AITensorFactory() = default;

AITensorFactory* AITensorFactory::GetInstance() {
    static AITensorFactory factory;
    return &factory;
}

void AITensorFactory::RegisterTensor(const AITensorDescription& description, AITensorCreator) {
    history += "+" + description.type();
}

void AITensorFactory::UnRegisterTensor(const AITensorDescription& description) {
    history += "-" + description.type();
}

}  // namespace orva

namespace orva::test {
namespace {

using Library = ResourceTest;

TEST_F(Library, RegistersSharedMemoryBeforeIonAndUnregistersItAfter) {
    history.clear();
    LogCapture log;
    void* const library = dlopen(ORVA_HIDL_SERVER, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, library) << dlerror();
    EXPECT_EQ("+AINeuralNetworkBuffer+AINeuralNetworkIonBuffer+AINeuralNetworkIonBuffer", history);
    std::string registered;
    for (const LogLine& line : log.Take(ANDROID_LOG_INFO)) {
        registered += line.tag + " " + line.message + "\n";
    }
    const std::string message =
            "AINeuralNetworkBufferHIDL Tensor Serializer register success! type is "
            ":AINeuralNetwork";
    EXPECT_EQ(message + "Buffer.\n" + message + "IonBuffer.\n" + message + "IonBuffer.\n",
              registered);

    history.clear();
    ASSERT_EQ(0, dlclose(library));
    EXPECT_EQ(nullptr, dlopen(ORVA_HIDL_SERVER, RTLD_NOW | RTLD_NOLOAD)) << "still loaded";
    EXPECT_EQ("-AINeuralNetworkIonBuffer-AINeuralNetworkIonBuffer-AINeuralNetworkBuffer", history);
}

TEST_F(Library, ServesOneObjectOfEachService) {
    void* const library = dlopen(ORVA_HIDL_SERVER, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, library) << dlerror();
    for (const char* name : {"HIDL_FETCH_IAIService", "HIDL_FETCH_IModelManagerService"}) {
        const auto fetch = reinterpret_cast<void* (*)(const char*)>(dlsym(library, name));
        ASSERT_NE(nullptr, fetch) << name;
        void* const service = fetch("default");
        EXPECT_NE(nullptr, service);
        EXPECT_EQ(service, fetch("another"));
        EXPECT_EQ(service, fetch(nullptr));
    }
    EXPECT_EQ(0, dlclose(library));
}

}  // namespace
}  // namespace orva::test
