/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Services by name: who may serve one, who finds it, and the end of serving.
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <thread>

#include <android/hidl/manager/1.0/IServiceManager.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hwbinder/ProcessState.h>

#include "TransportTest.h"
#include "support/LogCapture.h"

namespace {

using namespace orva_test;
using android::hardware::details::registerAsServiceInternal;
using android::hidl::manager::V1_0::IServiceManager;
using orva::test::LogCapture;
using orva::test::LogLine;

using Services = TransportTest;

bool logged(LogCapture& log, const std::string& text) {
    const std::vector<LogLine> lines = log.Take(ANDROID_LOG_ERROR);
    return std::any_of(lines.begin(), lines.end(), [&](const LogLine& line) {
        return line.message.find(text) != std::string::npos;
    });
}

TEST_F(Services, ThatAreNotThereAreNullWithAReason) {
    LogCapture log;
    EXPECT_EQ(nullptr, service().get());
    EXPECT_TRUE(logged(log, "no orva.test@1.0::IProbe/default in " + mFolder));
    EXPECT_EQ(nullptr, IProbe::tryGetService("none").get());
    for (const char* name : {"", "../other", "a/b", "a#b"}) {
        EXPECT_EQ(nullptr, service(name).get()) << name;
        EXPECT_EQ(android::UNKNOWN_ERROR, (new Probe)->registerAsService(name)) << name;
    }
    EXPECT_EQ(android::BAD_VALUE, registerAsServiceInternal(nullptr, "one"));
    EXPECT_FALSE(IProbe::registerForNotifications("one", nullptr));
    EXPECT_TRUE(orva_platform::listServices().empty());
}

TEST_F(Services, AreServedByOneLivingProcess) {
    PeerProcess first("serve", "default", "1");
    {
        LogCapture log;
        const sp<Probe> probe = new Probe;
        EXPECT_EQ(android::UNKNOWN_ERROR, probe->registerAsService());
        EXPECT_TRUE(logged(log, "a living process serves it already"));
    }
    expectOk(service()->ping());
    first.kill();
    EXPECT_TRUE(std::filesystem::exists(path(fileOf("default")))) << "what a dead one leaves";
    EXPECT_EQ(nullptr, service().get());
    EXPECT_TRUE(orva_platform::listServices().empty());
    PeerProcess second("serve", "default", "1");
    expectOk(service()->ping());
}

TEST_F(Services, AreListedWithWhoServesThem) {
    PeerProcess first("serve", "a", "1");
    PeerProcess second("serve", "b", "1");
    const std::string interface = IProbe::descriptor;
    const sp<IServiceManager> manager = android::hardware::defaultServiceManager();
    int reports = 0;
    expectOk(manager->list([&](const hidl_vec<hidl_string>& names) {
        ++reports;
        EXPECT_EQ((hidl_vec<hidl_string>{interface + "/a", interface + "/b"}), names);
    }));
    expectOk(manager->listByInterface(interface, [&](const hidl_vec<hidl_string>& names) {
        ++reports;
        EXPECT_EQ((hidl_vec<hidl_string>{"a", "b"}), names);
    }));
    expectOk(manager->debugDump([&](const hidl_vec<IServiceManager::InstanceDebugInfo>& dump) {
        ++reports;
        ASSERT_EQ(2u, dump.size());
        EXPECT_EQ(interface, dump[0].interfaceName);
        EXPECT_EQ("a", dump[0].instanceName);
        EXPECT_EQ(first.pid(), dump[0].pid);
        EXPECT_EQ(second.pid(), dump[1].pid);
    }));
    EXPECT_EQ(3, reports);
    using Transport = IServiceManager::Transport;
    EXPECT_EQ(Transport::HWBINDER, Transport(manager->getTransport(interface, "a")));
    EXPECT_EQ(Transport::EMPTY, Transport(manager->getTransport(interface, "c")));
}

TEST_F(Services, StandInAFolderThatOthersCannotWriteTo) {
    const struct {
        mode_t mode;
        bool taken;
    } cases[] = {{0700, true},  {0750, true},  {0755, true},
                 {0720, false}, {0702, false}, {0777, false}};
    for (const auto& each : cases) {
        chmod(mFolder.c_str(), each.mode);
        LogCapture log;
        EXPECT_EQ(each.taken, (new Probe)->registerAsService() == android::OK) << each.mode;
        EXPECT_EQ(each.taken, service() != nullptr) << each.mode;
        EXPECT_EQ(!each.taken, logged(log, "is refused")) << each.mode;
        chmod(mFolder.c_str(), 0700);
        orva_platform::stop();
    }
    const std::string missing = path("missing");
    orva_platform::setServiceDirectory(missing);
    const mode_t before = umask(0);
    EXPECT_EQ(android::OK, (new Probe)->registerAsService());
    umask(before);
    struct stat info;
    ASSERT_EQ(0, stat(missing.c_str(), &info));
    EXPECT_EQ(0700u, info.st_mode & 0777);
    ASSERT_EQ(0, stat((missing + "/" + fileOf("default")).c_str(), &info));
    EXPECT_EQ(0600u, info.st_mode & 0777);
}

TEST_F(Services, RefuseAnotherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    PeerProcess server("serve", "default", "1");
    const sp<IProbe> probe = service();
    const Held before = resourcesOf(probe);
    const std::string file = path(fileOf("default"));
    const auto connectAsNobody = [&] {
        PeerProcess nobody("connect", file, "65534");
        return nobody.readLine();
    };
    EXPECT_EQ("denied", connectAsNobody()) << "by the folder's mode";
    chmod(mFolder.c_str(), 0755);
    EXPECT_EQ("denied", connectAsNobody()) << "by the socket's mode";
    chmod(file.c_str(), 0666);
    EXPECT_EQ("closed", connectAsNobody()) << "by the server itself";
    EXPECT_TRUE(eventuallyHolds(probe, before));
}

TEST_F(Services, FoundInTheirOwnProcessAreTheObjectsThemselves) {
    const sp<IProbe> probe = new Probe;
    const sp<IProbe> other = new Probe;
    ASSERT_EQ(android::OK, probe->registerAsService());
    EXPECT_EQ(android::UNKNOWN_ERROR, other->registerAsService()) << "served once";
    EXPECT_EQ(android::OK, other->registerAsService("other"));
    EXPECT_EQ(probe, service());
    EXPECT_EQ(other, service("other"));
    EXPECT_FALSE(service()->isRemote());
    orva_platform::stop();
    EXPECT_EQ(nullptr, service().get());
    orva_platform::stop();
    ASSERT_EQ(android::OK, probe->registerAsService()) << "the runtime can be used again";
    EXPECT_EQ(probe, service());
}

sp<IProbe> gStub;
std::string gStubName;

TEST_F(Services, AskedForAsStubsAreMadeByTheirFactory) {
    gStub = new Probe;
    EXPECT_EQ(gStub, IProbe::getService("stub", true));
    EXPECT_EQ("stub", gStubName);
    gStub = nullptr;
    EXPECT_EQ(nullptr, IProbe::getService("stub", true).get());
    // No library of this process makes these.
    EXPECT_EQ(nullptr, IServiceManager::getService("stub", true).get());
}

TEST_F(Services, EndWhenTheyAreStopped) {
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> probe = service();
    expectOk(probe->hold(new Probe));
    server.signal(SIGTERM);
    EXPECT_EQ(0, server.await());
    EXPECT_TRUE(probe->ping().isDeadObject());
    EXPECT_TRUE(eventually([] { return Probe::alive() == 0; })) << "what it held is let go of";
    EXPECT_FALSE(std::filesystem::exists(path(fileOf("default"))));
}

TEST_F(Services, EndThoughAClientNeverAnswers) {
    android::hardware::configureRpcThreadpool(2, false);
    android::hardware::ProcessState::self()->startThreadPool();
    const sp<IProbe> probe = new Probe;
    ASSERT_EQ(android::OK, probe->registerAsService());
    PeerProcess stalled("hold", "default");
    stalled.freeze();
    const Held before = resourcesHere();
    PeerProcess caller("call", "default");
    // The caller's link and channel, and the one to the client that does not answer.
    EXPECT_TRUE(eventually([&] { return resourcesHere().channels == before.channels + 2; }));
    orva_platform::stop();
    EXPECT_EQ("dead", caller.readLine());
}

TEST_F(Services, CanBeStoppedByTheProcessThatCallsThem) {
    PeerProcess server("serve", "default", "2");
    const sp<IProbe> probe = service();
    expectOk(probe->hold(new Probe));
    std::thread waiting([&] { EXPECT_TRUE(probe->stay().isDeadObject()); });
    EXPECT_EQ("in", server.readLine());
    orva_platform::stop();  // On the client's side.
    waiting.join();
    EXPECT_EQ(0u, Probe::alive());
    EXPECT_TRUE(probe->ping().isDeadObject());
    const sp<IProbe> fresh = service();
    ASSERT_NE(nullptr, fresh.get());
    expectOk(fresh->ping());
    // The pool, too, runs again.
    expectOk(fresh->hold(new Probe));
    EXPECT_EQ(0, int32_t(fresh->callHeld()));
    server.signal(SIGUSR1);
}

}  // namespace

// The factory is found as a library's would be.
extern "C" android::hidl::base::V1_0::IBase* HIDL_FETCH_IProbe(const char* name) {
    gStubName = name;
    return gStub.get();
}
