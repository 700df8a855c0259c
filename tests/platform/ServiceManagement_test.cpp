/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <hidl/ServiceManagement.h>

#include <cstdlib>
#include <filesystem>

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <gtest/gtest.h>
#include <orva_platform/Runtime.h>
#include <unistd.h>
#include <vendor/selkat/hardware/ai/2.0/IAIServiceListener.h>

namespace {

using namespace android::hardware;
using android::sp;
using android::hidl::manager::V1_0::IServiceManager;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;
using vendor::selkat::hardware::ai::V2_0::IAIServiceListener;

struct Listener : IAIServiceListener {
    Return<void> OnProcessDone(int32_t, const hidl_string&,
                               const hidl_vec<AITensorHandle>&) override {
        return Void();
    }
};

class ServiceManagement : public testing::Test {
protected:
    void SetUp() override {
        char folder[] = "/tmp/orva-test-XXXXXX";
        ASSERT_NE(nullptr, mkdtemp(folder));
        mFolder = folder;
        orva_platform::setServiceDirectory(mFolder);
    }
    void TearDown() override {
        orva_platform::stop();
        std::filesystem::remove_all(mFolder);
    }

    std::vector<std::string> list() {
        std::vector<std::string> found;
        EXPECT_TRUE(mManager->list([&](const hidl_vec<hidl_string>& names) {
                                found.assign(names.begin(), names.end());
                            })
                            .isOk());
        return found;
    }

    const sp<IServiceManager> mManager = defaultServiceManager();
    std::string mFolder;
};

TEST_F(ServiceManagement, WhatIsRegisteredIsFound) {
    const sp<IAIServiceListener> listener = new Listener();
    ASSERT_EQ(android::OK, listener->registerAsService("one"));
    const std::string interface = IAIServiceListener::descriptor;

    EXPECT_EQ(listener, IAIServiceListener::getService("one"));
    EXPECT_EQ(std::vector<std::string>{interface + "/one"}, list());
    EXPECT_EQ(IServiceManager::Transport::HWBINDER,
              IServiceManager::Transport(mManager->getTransport(interface, "one")));
    EXPECT_EQ(IServiceManager::Transport::EMPTY,
              IServiceManager::Transport(mManager->getTransport(interface, "two")));
    int reports = 0;
    EXPECT_TRUE(mManager->listByInterface(interface,
                                          [&](const hidl_vec<hidl_string>& names) {
                                              ++reports;
                                              EXPECT_EQ(hidl_vec<hidl_string>{"one"}, names);
                                          })
                        .isOk());
    EXPECT_TRUE(mManager->debugDump([&](const hidl_vec<IServiceManager::InstanceDebugInfo>& dump) {
                            ++reports;
                            ASSERT_EQ(1u, dump.size());
                            EXPECT_EQ(interface, dump[0].interfaceName);
                            EXPECT_EQ("one", dump[0].instanceName);
                            EXPECT_EQ(getpid(), dump[0].pid);
                        })
                        .isOk());
    EXPECT_EQ(2, reports);
}

TEST_F(ServiceManagement, ANameIsServedOnce) {
    const sp<IAIServiceListener> first = new Listener();
    const sp<IAIServiceListener> second = new Listener();
    ASSERT_EQ(android::OK, first->registerAsService("one"));
    EXPECT_EQ(android::UNKNOWN_ERROR, second->registerAsService("one"));
    EXPECT_EQ(first, IAIServiceListener::getService("one"));
    EXPECT_EQ(android::OK, second->registerAsService("two"));
    EXPECT_EQ(second, IAIServiceListener::getService("two"));
}

TEST_F(ServiceManagement, WhatIsNotThereIsNull) {
    EXPECT_EQ(nullptr, IAIServiceListener::getService("none").get());
    EXPECT_EQ(nullptr, IAIServiceListener::tryGetService("none").get());
    EXPECT_EQ(nullptr, IAIServiceListener::getService("../none").get());
    EXPECT_TRUE(list().empty());
}

TEST_F(ServiceManagement, WhatCannotBeServedIsRefused) {
    const sp<IAIServiceListener> listener = new Listener();
    EXPECT_EQ(android::BAD_VALUE, details::registerAsServiceInternal(nullptr, "one"));
    EXPECT_EQ(android::UNKNOWN_ERROR, listener->registerAsService("a/b"));
    EXPECT_EQ(android::UNKNOWN_ERROR, listener->registerAsService(""));
    EXPECT_FALSE(IAIServiceListener::registerForNotifications("one", nullptr));
    EXPECT_TRUE(list().empty());
}

sp<IAIServiceListener> gStub;
std::string gStubName;

TEST_F(ServiceManagement, AStubIsMadeByItsFactory) {
    gStub = new Listener();
    EXPECT_EQ(gStub, IAIServiceListener::getService("stub", true));
    EXPECT_EQ("stub", gStubName);
    gStub = nullptr;
    EXPECT_EQ(nullptr, IAIServiceListener::getService("stub", true).get());
    // No library of this process makes these.
    EXPECT_EQ(nullptr, IServiceManager::getService("stub", true).get());
}

}  // namespace

extern "C" android::hidl::base::V1_0::IBase* HIDL_FETCH_IAIServiceListener(const char* name) {
    gStubName = name;
    return gStub.get();
}
