/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "system/HostProcess.h"

#include <csignal>

namespace orva::test {

namespace {

std::vector<std::string> commandLine(const std::string& folder,
                                     const std::vector<std::string>& options) {
    std::vector<std::string> command = {ORVA_HOST, "--socket-dir", folder};
    command.insert(command.end(), options.begin(), options.end());
    return command;
}

}  // namespace

HostProcess::HostProcess(const std::string& folder, const std::vector<std::string>& options)
        : mProcess(commandLine(folder, options)) {}

bool HostProcess::ready() {
    return mProcess.output().await("orva-host: ready in ");
}

int HostProcess::stop() {
    mProcess.signal(SIGTERM);
    return mProcess.await();
}

ProcessState HostProcess::settledTo(const ProcessState& then) const {
    ProcessState now;
    eventually([&] {
        now = state();
        return now.holdsAsMuchAs(then);
    });
    return now;
}

}  // namespace orva::test
