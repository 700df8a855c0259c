/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "system/SystemTest.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <orva_platform/Runtime.h>
#include <unistd.h>

namespace orva::test {

ProcessState ProcessState::of(pid_t pid) {
    using std::filesystem::directory_iterator;
    const std::string process = "/proc/" + std::to_string(pid);
    const auto entriesOf = [](const std::string& folder) {
        return static_cast<size_t>(std::distance(directory_iterator(folder), {}));
    };
    ProcessState state = {entriesOf(process + "/fd"), 0, entriesOf(process + "/task"), 0};
    std::ifstream maps(process + "/maps");
    for (std::string line; std::getline(maps, line);) {
        state.regions += line.find("/memfd:") != std::string::npos ? 1 : 0;
    }
    size_t pages = 0;
    std::ifstream(process + "/statm") >> pages >> pages;
    state.memory = pages * static_cast<size_t>(getpagesize());
    return state;
}

std::ostream& operator<<(std::ostream& out, const ProcessState& state) {
    return out << state.descriptors << " descriptors, " << state.regions << " regions, "
               << state.threads << " threads, " << state.memory << " bytes";
}

HostProcess::HostProcess(const std::string& folder, std::vector<std::string> options)
        // Tests count lines that one client causes.
        : ChildProcess((options.insert(options.begin(),
                                       {ORVA_HOST, "--socket-dir", folder, "--log-limit", "0"}),
                        options)) {}

int HostProcess::stop() {
    signal(SIGTERM);
    return await();
}

void SystemTest::SetUp() {
    // What the runtime opens once and keeps is not the test's.
    orva_platform::stop();
    ResourceTest::SetUp();
    char folder[] = "/tmp/orva-system-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    folder_ = folder;
    orva_platform::setServiceDirectory(folder_);
}

void SystemTest::TearDown() {
    orva_platform::stop();
    if (host_ != nullptr) {
        expectSettled();
        stopHost();
    }
    std::filesystem::remove_all(folder_);
    ResourceTest::TearDown();
}

void SystemTest::startHost(const std::vector<std::string>& options) {
    host_ = std::make_unique<HostProcess>(folder_, options);
    ASSERT_TRUE(host_->ready()) << host_->log().text();
    before_ = ProcessState::of(host_->pid());
}

void SystemTest::stopHost() {
    EXPECT_EQ(host_->stop(), 0);
    host_.reset();
}

void SystemTest::killHost() {
    host_->kill();
    host_.reset();
}

void SystemTest::expectRoomFor(int clients) {
    const auto client = newClient();
    for (int i = 1; i <= clients; ++i) {
        // A client that has just been killed is forgotten a little later.
        const std::string step = "init " + std::to_string(i) + " echo";
        EXPECT_TRUE(eventually([&] { return client->ask(step) == "0"; })) << i;
    }
    EXPECT_EQ(client->ask("init 100 echo"), "1");
    for (int i = 1; i <= clients; ++i) {
        EXPECT_EQ(client->ask("uninit " + std::to_string(i)), "0");
    }
}

void SystemTest::expectSettled() {
    ProcessState now;
    const bool settled = eventually([&] {
        now = ProcessState::of(host_->pid());
        return now.descriptors == before_.descriptors && now.regions == before_.regions;
    });
    EXPECT_TRUE(settled) << "then " << before_ << "; now " << now;
}

}  // namespace orva::test
