/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <csignal>
#include <string>
#include <vector>

#include "support/ChildProcess.h"

namespace orva::test {

// A service host of the test's own, serving in a folder of its own.
class HostProcess : public ChildProcess {
public:
    // `options` are further ones of the program's.
    HostProcess(const std::string& folder, const std::vector<std::string>& options)
            : ChildProcess(commandLine(folder, options)) {}

    // Waits until it serves; false when it will not, and then output and log say why.
    bool ready() { return output().await("orva-host: ready in "); }
    // SIGTERM; its exit code.
    int stop() {
        signal(SIGTERM);
        return await();
    }
    LineReader& log() { return errors(); }

private:
    static std::vector<std::string> commandLine(const std::string& folder,
                                                const std::vector<std::string>& options) {
        std::vector<std::string> command = {ORVA_HOST, "--socket-dir", folder};
        command.insert(command.end(), options.begin(), options.end());
        return command;
    }
};

// A client in a process of its own, led through the protocol step by step; system_client.cpp lists
// the steps.
class ClientProcess : public ChildProcess {
public:
    explicit ClientProcess(const std::string& folder) : ChildProcess({SYSTEM_CLIENT, folder}) {}

    // Takes a step and waits for its outcome: a status, or words. "gone" when the client has ended.
    std::string ask(const std::string& step) {
        write(step);
        return answer();
    }
    std::string answer() { return output().next().value_or("gone"); }

    // Has it end by itself; its exit code.
    int finish() {
        closeInput();
        return await();
    }

    std::string idOf(int session) const {
        return std::to_string(pid()) + ":" + std::to_string(session);
    }
};

}  // namespace orva::test
