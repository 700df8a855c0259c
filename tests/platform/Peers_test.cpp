/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The table of peers, when the process that is found has ended already.
#include <atomic>
#include <fstream>
#include <string>

#include <dlfcn.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <hidl/HidlTransportSupport.h>
#include <hwbinder/ProcessState.h>
#include <orva/test/1.0/BnHwProbe.h>

#include "Stranger.h"
#include "TransportTest.h"
#include "socket/peer/Peers.h"

namespace {

using namespace orva_test;
using android::base::unique_fd;

std::atomic<bool> holdsWatcher{false};
std::atomic<pid_t> tellsOfEnd{0};  // The thread, once it does.

// Running threads are at something still.
bool isAsleep(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::string stat;
    std::getline(file, stat);
    const size_t name = stat.rfind(')');
    return name != std::string::npos && stat.compare(name, 3, ") S") == 0;
}

}  // namespace

// In the C library's place: whoever begins to watch a descriptor goes on when a peer's end has been
// told and its thread does no more, be it done or waiting for something.
extern "C" __attribute__((visibility("default"))) int watchInPlace(int poller, int operation,
                                                                   int descriptor,
                                                                   epoll_event* event) noexcept
        __asm__("epoll_ctl");

int watchInPlace(int poller, int operation, int descriptor, epoll_event* event) noexcept {
    using Function = int (*)(int, int, int, epoll_event*);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "epoll_ctl"));
    const bool holds = operation == EPOLL_CTL_ADD && holdsWatcher.exchange(false);
    const int result = real(poller, operation, descriptor, event);
    if (holds) {
        EXPECT_TRUE(eventually([] { return tellsOfEnd != 0 && isAsleep(tellsOfEnd); }));
    }
    return result;
}

namespace {

using Peers = TransportTest;

// The end is told while the table is held by who has found the process, and both go on.
TEST_F(Peers, OutliveAProcessThatEndsWhileItIsFound) {
    android::hardware::configureRpcThreadpool(1, false);
    android::hardware::ProcessState::self()->startThreadPool();
    orva_platform::onPeerGone([](pid_t) { tellsOfEnd = gettid(); });
    const unique_fd listening(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    sockaddr_un address = {AF_UNIX, {}};
    socketOf().copy(address.sun_path, sizeof address.sun_path - 1);
    const auto* const name = reinterpret_cast<const sockaddr*>(&address);
    ASSERT_EQ(0, bind(listening, name, sizeof address));
    ASSERT_EQ(0, listen(listening, 1));
    Stranger stranger([&] {
        const unique_fd connection(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
        EXPECT_EQ(0, connect(connection, name, sizeof address));
    });
    siginfo_t ended;  // It stays to be looked at.
    ASSERT_EQ(0, waitid(P_PID, static_cast<id_t>(stranger.pid()), &ended, WEXITED | WNOWAIT));
    unique_fd connection(accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
    const unique_fd tells(static_cast<int>(syscall(SYS_pidfd_open, stranger.pid(), 0)));
    if (tells < 0) {
        GTEST_SKIP() << "nothing tells of a process's end on this kernel";
    }
    tellsOfEnd = 0;
    holdsWatcher = true;
    const sp<android::hardware::BHwBinder> stub = new orva::test::V1_0::BnHwProbe(new Probe);
    android::hardware::socket::Peers::instance().serve(std::move(connection), stub);
    EXPECT_TRUE(eventually([] { return orva_platform::counts().peers == 0; }));
    EXPECT_FALSE(holdsWatcher) << "was met";
    EXPECT_TRUE(stranger.succeeded());
    orva_platform::onPeerGone(nullptr);
}

}  // namespace
