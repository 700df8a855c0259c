/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <dlfcn.h>
#include <gtest/gtest.h>

#include "common/Interfaces.h"

namespace orva::test {
namespace {

TEST(Library, ServesOneObjectOfEachService) {
    void* const library = dlopen(ORVA_HIDL_SERVER, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(nullptr, library) << dlerror();

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
