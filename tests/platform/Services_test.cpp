/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Services by name: who may serve one, who finds it, and the end of serving.
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <thread>

#include <android-base/unique_fd.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hwbinder/ProcessState.h>

#include <orva/test/1.0/BpHwProbe.h>

#include "Stranger.h"
#include "TransportTest.h"
#include "hwbinder/Transport.h"
#include "support/LogCapture.h"

namespace {

using namespace orva_test;
using android::base::unique_fd;
using android::hardware::details::registerAsServiceInternal;
using orva::test::LogCapture;
using orva::test::V1_0::BpHwProbe;

using Services = TransportTest;

TEST_F(Services, ThatAreNotThereAreNullWithAReason) {
    LogCapture log;
    EXPECT_EQ(nullptr, IProbe::getService().get());
    EXPECT_TRUE(logged(log, "no orva.test@1.0::IProbe/default in " + mFolder));
    for (const char* name : {"", "../other", "a/b", "a#b"}) {
        EXPECT_EQ(nullptr, IProbe::getService(name).get()) << name;
        EXPECT_EQ(android::UNKNOWN_ERROR, (new Probe)->registerAsService(name)) << name;
    }
    EXPECT_EQ(android::UNEXPECTED_NULL, registerAsServiceInternal(nullptr, "default"));
}

TEST_F(Services, ComeBackToAClientThatNobodyToldOfTheirEnd) {
    sp<IProbe> old;
    for (int i = 0; i < 2; ++i) {
        PeerProcess server("default", "1");
        const sp<IProbe> fresh = IProbe::getService();
        expectOk(fresh->ping());
        EXPECT_TRUE(old == nullptr || old->ping().isDeadObject());
        old = fresh;
        server.kill();
        EXPECT_EQ(nullptr, IProbe::getService().get());
    }
    EXPECT_EQ(0u, orva_platform::counts().threads) << "which would be told";
}

TEST_F(Services, StandInAFolderThatOthersCannotWriteTo) {
    for (const mode_t mode : {0700, 0755, 0720, 0702}) {
        SCOPED_TRACE(mode);
        const bool taken = (mode & 0022) == 0;
        chmod(mFolder.c_str(), mode);
        LogCapture log;
        const sp<IProbe> probe = new Probe;
        EXPECT_EQ(taken, probe->registerAsService() == android::OK);
        EXPECT_EQ(taken ? probe : nullptr, IProbe::getService()) << "in one process the object";
        EXPECT_EQ(!taken, logged(log, "is refused"));
        orva_platform::stop();
    }
    // A link in its place counts as the folder if it is the user's own.
    const std::string real = mFolder + ".real";
    std::filesystem::rename(mFolder, real);
    chmod(real.c_str(), 0700);
    for (const uid_t owner : {geteuid(), uid_t{65534}}) {
        std::filesystem::create_directory_symlink(real, mFolder);
        if (lchown(mFolder.c_str(), owner, static_cast<gid_t>(-1)) == 0) {
            EXPECT_EQ(owner == geteuid(), (new Probe)->registerAsService() == android::OK);
            orva_platform::stop();
        }
        std::filesystem::remove(mFolder);
    }
    std::filesystem::remove_all(real);  // One that is missing is made.
    const mode_t before = umask(0);
    EXPECT_EQ(android::OK, (new Probe)->registerAsService());
    umask(before);
    struct stat info;
    ASSERT_EQ(0, stat(mFolder.c_str(), &info));
    EXPECT_EQ(0700u, info.st_mode & 0777);
    ASSERT_EQ(0, stat(socketOf().c_str(), &info));
    EXPECT_EQ(0600u, info.st_mode & 0777);
}

TEST_F(Services, AreServedUnderAllTheirNamesOrNone) {
    PeerProcess other("default", "1");
    const sp<android::hardware::IBinder> own = android::hardware::toBinder(sp<IProbe>(new Probe));
    EXPECT_EQ(android::ALREADY_EXISTS,
              android::hardware::transport::addService({"orva.test@1.0::IFree", IProbe::descriptor},
                                                       "default", own));
    EXPECT_FALSE(std::filesystem::exists(mFolder + "/orva.test@1.0::IFree#default"));
}

TEST_F(Services, LeaveTheFileAloneThatAnotherHasMade) {
    ASSERT_EQ(android::OK, (new Probe)->registerAsService());
    std::filesystem::remove(socketOf());
    PeerProcess other("default", "1");
    orva_platform::stop();
    EXPECT_NE(nullptr, IProbe::getService());
}

// Connects to a socket as another user: the error, or 0 if the server then closes without a word.
int connectAsNobody(const std::string& file) {
    int result = -1;
    std::thread([&] {
        // Of this thread alone.
        ASSERT_EQ(0, syscall(SYS_setresuid, 65534, 65534, 65534));
        const unique_fd connection(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
        sockaddr_un address = {AF_UNIX, {}};
        file.copy(address.sun_path, sizeof address.sun_path - 1);
        char byte;
        const auto* name = reinterpret_cast<const sockaddr*>(&address);
        result = connect(connection.get(), name, sizeof address) != 0
                         ? errno
                         : static_cast<int>(recv(connection.get(), &byte, 1, 0));
    }).join();
    return result;
}

TEST_F(Services, RefuseAnotherUser) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    serve("1");
    const std::string file = socketOf();
    EXPECT_EQ(EACCES, connectAsNobody(file)) << "by the folder's mode";
    chmod(mFolder.c_str(), 0755);
    EXPECT_EQ(EACCES, connectAsNobody(file)) << "by the socket's mode";
    chmod(file.c_str(), 0666);
    EXPECT_EQ(0, connectAsNobody(file)) << "by the server itself";
    expectNothingLeft();
}

TEST_F(Services, AreServedByOneThreadThatPollsForCalls) {
    serve("0");
    constexpr int kCallers = 3;
    std::vector<std::thread> callers;
    callers.reserve(kCallers);
    for (int i = 0; i < kCallers; ++i) {
        callers.emplace_back([this] {
            for (int calls = 0; calls < 20; ++calls) {
                expectOk(mProbe->caller(new Probe, [](int32_t, int32_t, uint32_t) {}));
                expectOk(mProbe->note(calls));
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_TRUE(eventually([&] { return notes().size() == 61; })) << "one of the fixture's own";
    const std::filesystem::directory_iterator threads("/proc/" + std::to_string(mServer->pid()) +
                                                      "/task");
    EXPECT_EQ(1, std::distance(begin(threads), end(threads)));
    EXPECT_GT(0, android::hardware::setupTransportPolling()) << "with connections it is too late";
}

TEST_F(Services, HearOfTheStopWhileTheirThreadsAreBusy) {
    android::hardware::configureRpcThreadpool(1, true);
    const sp<IProbe> probe = new Probe;
    ASSERT_EQ(android::OK, probe->registerAsService());
    std::thread joined([] { android::hardware::joinRpcThreadpool(); });
    PeerProcess stalled;
    stalled.freeze();
    // The pool's one thread is in a call to who does not answer.
    const sp<IProbe> held = probe->take();
    EXPECT_NE(nullptr, held);
    expectOk(probe->hold(held));
    Stranger stranger([&] {
        RawClient client(socketOf());
        client.call(recordOf<BpHwProbe>([](BpHwProbe& proxy) { return proxy.callHeld(); }));
        pause();
    });
    EXPECT_TRUE(eventually([&] { return held->getStrongCount() > 0; }));
    orva_platform::requestStop();
    joined.join();
    EXPECT_TRUE(orva_platform::stop());
    expectOk(probe->hold(nullptr));
    android::hardware::configureRpcThreadpool(1, false);
}

TEST_F(Services, EndThoughAClientNeverAnswers) {
    android::hardware::configureRpcThreadpool(2, false);
    android::hardware::ProcessState::self()->startThreadPool();
    const sp<IProbe> probe = new Probe;
    ASSERT_EQ(android::OK, probe->registerAsService());
    PeerProcess stalled;
    stalled.freeze();
    const sp<IProbe> held = probe->take();
    // The second needs a channel of its own when the first is in the one that is there.
    const size_t before = orva_platform::counts().channels;
    std::thread waiting([&] { EXPECT_TRUE(held->ping().isDeadObject()); });
    std::thread waitingToo([&] { EXPECT_TRUE(held->ping().isDeadObject()); });
    EXPECT_TRUE(eventually([&] { return orva_platform::counts().channels > before; }));
    orva_platform::stop();
    waiting.join();
    waitingToo.join();
    EXPECT_FALSE(std::filesystem::exists(socketOf()));
}

TEST_F(Services, CanBeLeftThoughTheyNeverAnswer) {
    PeerProcess stalled("default", "1");
    stalled.freeze();
    const size_t before = orva_platform::counts().peers;
    std::thread waiting([] { EXPECT_EQ(nullptr, IProbe::getService()); });
    EXPECT_TRUE(eventually([&] { return orva_platform::counts().peers > before; }));
    orva_platform::stop();
    waiting.join();
}

}  // namespace
