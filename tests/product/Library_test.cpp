/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "common/Interfaces.h"
#include "support/LogCapture.h"

namespace orva::test {
namespace {

TEST(Library, RegistersItsTensorsAtLoadAndServesOneObject) {
    LogCapture log;
    void* const library = dlopen(ORVA_HIDL_SERVER, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, library) << dlerror();

    const auto registered = [](const std::string& type) {
        return LogLine{ANDROID_LOG_INFO, "AINeuralNetworkBufferHIDL", "RegisterFunc",
                       "Tensor Serializer register success! type is :" + type + "."};
    };
    std::vector<LogLine> lines;
    for (LogLine& line : log.Take()) {
        if (line.function == "RegisterFunc") {
            lines.push_back(std::move(line));
        }
    }
    EXPECT_EQ((std::vector<LogLine>{registered("AINeuralNetworkBuffer"),
                                    registered("AINeuralNetworkIonBuffer"),
                                    registered("AINeuralNetworkIonBuffer")}),
              lines);

    const auto fetchAi = reinterpret_cast<hidl::IAIService_hidl* (*)(const char*)>(
            dlsym(library, "HIDL_FETCH_IAIService"));
    ASSERT_NE(nullptr, fetchAi);
    const auto* const service = fetchAi("default");
    EXPECT_NE(nullptr, service);
    EXPECT_EQ(service, fetchAi("another"));
    EXPECT_EQ(service, fetchAi(nullptr));
    const auto fetchModels = reinterpret_cast<hidl::IModelManagerService_hidl* (*)(const char*)>(
            dlsym(library, "HIDL_FETCH_IModelManagerService"));
    ASSERT_NE(nullptr, fetchModels);
    void* const models = fetchModels("default");
    EXPECT_NE(nullptr, models);
    EXPECT_EQ(models, fetchModels("another"));
    EXPECT_EQ(models, fetchModels(nullptr));
    EXPECT_EQ(0, dlclose(library));
}

}  // namespace
}  // namespace orva::test
