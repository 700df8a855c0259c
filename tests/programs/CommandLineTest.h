/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "system/SystemTest.h"

namespace orva::test {

struct Outcome {
    int code;
    std::string output;
    std::string errors;
};

inline std::string rest(LineReader& lines) {
    std::string text;
    while (const auto line = lines.next()) {
        text += *line + "\n";
    }
    return text;
}

inline Outcome runOrva(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {ORVA_CLIENT};
    command.insert(command.end(), arguments.begin(), arguments.end());
    ChildProcess process(command);
    process.closeInput();
    const int code = process.await();
    return {code, rest(process.output()), rest(process.errors())};
}

// Command lines, and what each is told.
using Mistakes = std::vector<std::pair<std::vector<std::string>, const char*>>;
inline void expectRefused(const Outcome& outcome, int code, const std::string& told) {
    EXPECT_EQ(outcome.code, code) << told;
    EXPECT_NE(outcome.errors.find(told), std::string::npos) << outcome.errors;
    EXPECT_EQ(outcome.output, "") << told;
}

// The client program beside a host of the test's own.
class CommandLine : public SystemTest {
protected:
    Outcome orva(std::vector<std::string> arguments) const {
        arguments.insert(arguments.end(), {"--socket-dir", folder()});
        return runOrva(arguments);
    }
    // Files of the test's own.
    std::string path(const std::string& name) const {
        std::filesystem::create_directories(folder() + "/files");
        return folder() + "/files/" + name;
    }
    std::string file(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
    }
};

}  // namespace orva::test
