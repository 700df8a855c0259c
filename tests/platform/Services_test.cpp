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

#include <algorithm>
#include <thread>

#include <android-base/unique_fd.h>
#include <hidl/HidlTransportSupport.h>
#include <hwbinder/ProcessState.h>

#include "TransportTest.h"
#include "support/LogCapture.h"

namespace {

using namespace orva_test;
using android::base::unique_fd;
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
    for (const char* name : {"", "../other", "a/b", "a#b"}) {
        EXPECT_EQ(nullptr, service(name).get()) << name;
        EXPECT_EQ(android::UNKNOWN_ERROR, (new Probe)->registerAsService(name)) << name;
    }
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

TEST_F(Services, StandInAFolderThatOthersCannotWriteTo) {
    for (const mode_t mode : {0700, 0755, 0720, 0702}) {
        SCOPED_TRACE(mode);
        const bool taken = (mode & 0022) == 0;
        chmod(mFolder.c_str(), mode);
        LogCapture log;
        EXPECT_EQ(taken, (new Probe)->registerAsService() == android::OK);
        EXPECT_EQ(taken, service() != nullptr);
        EXPECT_EQ(!taken, logged(log, "is refused"));
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
    const std::string file = path(fileOf("default"));
    EXPECT_EQ(EACCES, connectAsNobody(file)) << "by the folder's mode";
    chmod(mFolder.c_str(), 0755);
    EXPECT_EQ(EACCES, connectAsNobody(file)) << "by the socket's mode";
    chmod(file.c_str(), 0666);
    EXPECT_EQ(0, connectAsNobody(file)) << "by the server itself";
    expectNothingLeft();
}

TEST_F(Services, FoundInTheirOwnProcessAreTheObjectsThemselves) {
    const sp<IProbe> probe = new Probe;
    ASSERT_EQ(android::OK, probe->registerAsService());
    EXPECT_EQ(android::UNKNOWN_ERROR, (new Probe)->registerAsService()) << "served once";
    EXPECT_EQ(probe, service());
    orva_platform::stop();
    EXPECT_EQ(nullptr, service().get());
    ASSERT_EQ(android::OK, probe->registerAsService()) << "the runtime can be used again";
    EXPECT_EQ(probe, service());
}

TEST_F(Services, EndThoughAClientNeverAnswers) {
    android::hardware::configureRpcThreadpool(2, false);
    android::hardware::ProcessState::self()->startThreadPool();
    const sp<IProbe> probe = new Probe;
    ASSERT_EQ(android::OK, probe->registerAsService());
    PeerProcess stalled("hold", "default");
    stalled.freeze();
    const uint64_t before = resourcesHere().channels;
    std::thread waiting([&] { EXPECT_EQ(android::DEAD_OBJECT, int32_t(probe->callHeld())); });
    EXPECT_TRUE(eventually([&] { return resourcesHere().channels > before; }));
    orva_platform::stop();
    waiting.join();
    EXPECT_FALSE(std::filesystem::exists(path(fileOf("default"))));
}

}  // namespace
