/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The client program beside hosts that do not answer, and folders without one.

#include <chrono>

#include <unistd.h>

#include "programs/CommandLineTest.h"

namespace orva::test {

namespace {

namespace fs = std::filesystem;

TEST_F(CommandLine, GivesUpOnAHostThatDoesNotAnswer) {
    startHost();
    const std::string bytes = file("bytes", "1234");
    host().freeze();
    for (std::vector<std::string> command : {std::vector<std::string>{"ping"},
                                             {"debug"},
                                             {"nodes"},
                                             {"check", bytes},
                                             {"run", "--node", "echo", "--input", bytes}}) {
        command.insert(command.end(), {"--timeout", "0.2"});
        expectRefused(orva(command), 1, "did not answer within 0.2 s");
    }
    host().thaw();
    EXPECT_EQ(orva({"ping", "--timeout", "60"}).code, 0);
    EXPECT_EQ(orva({"ping", "--timeout", "-1"}).code, 2);
}

TEST_F(CommandLine, SaysWhatIsWrongWithTheFolder) {
    const auto ping = [](const std::string& folder) {
        return runOrva({"ping", "--socket-dir", folder});
    };
    const std::string missing = path("missing");
    expectRefused(ping(missing), 1, "there is no folder " + missing + "; start orva-host");
    EXPECT_FALSE(fs::exists(missing)) << "looking for a service makes nothing";

    const std::string open = path("open");
    fs::create_directory(open);
    fs::permissions(open, fs::perms::all);
    const std::string plain = file("plain", "x");
    for (const auto& [folder, told] : {std::pair(open, "others may write"),
                                       {plain, "Not a directory"},
                                       {plain + "/x", "Not a directory"}}) {
        expectRefused(ping(folder), 1, told);
        expectRefused(runOrva({"list", "--socket-dir", folder}), 1, told);
    }
    if (geteuid() == 0) {
        const std::string others = path("others");
        fs::create_directory(others);
        ASSERT_EQ(chown(others.c_str(), 1, 1), 0);
        expectRefused(ping(others), 1, "another user's");
    }
    startHost();
    killHost();
    expectRefused(orva({"ping"}), 1, "; start orva-host");
    expectRefused(orva({"debug", "--client", "abc"}), 2, "'abc' is no process id");
}

}  // namespace

}  // namespace orva::test
