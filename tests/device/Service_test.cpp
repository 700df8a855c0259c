/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What a device's tree builds around the library: the names it is loaded by, and its process.
#include <dlfcn.h>

#include <cstdlib>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <hidl/HidlTransportSupport.h>
#include <vendor/selkat/hardware/ai/2.1/IAIService.h>
#include <vendor/selkat/hardware/ai/2.1/IModelManagerService.h>

#include "support/ChildProcess.h"
#include "support/Eventually.h"

namespace {

using namespace vendor::selkat::hardware::ai;
using orva::test::ChildProcess;
using orva::test::eventually;

TEST(Implementations, HaveTheFactoriesOfOneLibrary) {
    for (const char* factory : {"HIDL_FETCH_IAIService", "HIDL_FETCH_IModelManagerService"}) {
        std::set<void*> found;
        for (const char* file : {IMPLEMENTATIONS}) {
            void* const library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
            ASSERT_NE(nullptr, library) << dlerror();
            found.insert(dlsym(library, factory));
        }
        EXPECT_EQ(1U, found.size()) << factory;
        EXPECT_EQ(0U, found.count(nullptr)) << factory;
    }
}

// Whether the service is there and answers.
template <class Service>
bool served() {
    const android::sp<Service> service = Service::getService();
    return service != nullptr && service->ping().isOk();
}

TEST(Service, ServesBothInterfacesInAllTheirVersions) {
    char folder[] = "/tmp/orva-device-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(folder));
    setenv("ORVA_SERVICE_DIR", folder, 1);
    {
        ChildProcess service({DEVICE_SERVICE});
        EXPECT_TRUE(eventually(served<V2_1::IModelManagerService>));
        EXPECT_TRUE(served<V2_0::IModelManagerService>());
        EXPECT_TRUE(served<V2_0::IAIService>());
        EXPECT_TRUE(served<V2_1::IAIService>());
        EXPECT_EQ(nullptr, V2_1::IAIService::getService("other").get());
        EXPECT_TRUE(android::hardware::interfacesEqual(V2_0::IAIService::getService(),
                                                       V2_1::IAIService::getService()))
                << "one object, whichever of its versions it was asked for by";
        service.kill();
    }
    unsetenv("ORVA_SERVICE_DIR");
    std::system(("rm -rf " + std::string(folder)).c_str());
}

}  // namespace
