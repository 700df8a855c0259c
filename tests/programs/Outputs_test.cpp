/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What the client program reads and writes: nothing is lost, and nothing is in vain.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "programs/CommandLineTest.h"

namespace orva::test {

namespace {

namespace fs = std::filesystem;

class Outputs : public CommandLine {
protected:
    const std::string model_ = ORVA_ONNX_CASES "/test_relu/model.onnx";
};

// The program's status when its output goes to that file; -1 closes it.
int runOrvaInto(int output, const std::vector<std::string>& arguments) {
    const pid_t pid = fork();
    if (pid == 0) {
        std::vector<char*> words = {const_cast<char*>(ORVA_CLIENT)};
        for (const std::string& argument : arguments) {
            words.push_back(const_cast<char*>(argument.c_str()));
        }
        words.push_back(nullptr);
        output < 0 ? close(STDOUT_FILENO) : dup2(output, STDOUT_FILENO);
        execv(ORVA_CLIENT, words.data());
        _exit(127);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

TEST_F(Outputs, AreNeverAnInput) {
    const std::string source = path("m.onnx"), picture = file("x.ppm", "P6 1 1 255\nabc");
    fs::copy_file(model_, source);
    fs::create_hard_link(source, path("hard.onnx"));
    fs::create_symlink(picture, path("link.png"));
    fs::create_directories(path("saved"));
    const std::string input = file("saved/0-y.bin", std::string(240, 'x'));
    const Mistakes mistakes = {
            {{"compile", source, "-o", source}, "it is an input"},
            {{"compile", source, "-o", path("hard.onnx")}, "it is an input"},
            {{"faces", "--model", source, "--image", picture, "--output", path("link.png")},
             "it is an input"},
            {{"run", "--model", source, "--input", input, "--output", path("saved")},
             "it is an input"},
            {{"compile", source, "-o", path("none/x.orva")}, "there is no folder"},
            {{"compile", source, "-o", path("saved")}, "it is a folder"},
            {{"faces", "--model", source, "--image", picture, "--output", path("x.gif")},
             "must end in"},
            {{"run", "--model", source, "--input", input, "--output", source}, "Not a directory"},
    };
    // Nobody serves: all of it is refused before anything is asked of a service.
    for (const auto& [arguments, told] : mistakes) {
        expectRefused(orva(arguments), 1, told);
    }
    EXPECT_EQ(fs::file_size(source), fs::file_size(model_));
    EXPECT_EQ(fs::file_size(input), 240U);
}

TEST_F(Outputs, ThatCannotBeWrittenEndWith1) {
    startHost();
    const std::string bytes = file("bytes", "1234");
    const std::vector<std::vector<std::string>> commands = {
            {"--help"},        {"list"},
            {"ping"},          {"run", "--node", "echo", "--input", bytes},
            {"debug"},         {"info", model_},
            {"check", model_}, {"nodes"},
            {"run", "--help"},
    };
    const android::base::unique_fd full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    ASSERT_GE(full, 0);
    for (std::vector<std::string> command : commands) {
        if (command.back()[0] != '-') {
            command.insert(command.end(), {"--socket-dir", folder()});
        }
        EXPECT_EQ(runOrvaInto(full, command), 1) << command.front();
        EXPECT_EQ(runOrvaInto(-1, command), 1) << command.front() << " without an output";
    }
}

TEST_F(Outputs, InputsAreJudgedBeforeTheyAreRead) {
    startHost();
    const std::string huge = file("huge", "x");
    fs::resize_file(huge, uint64_t{3} << 30);  // Sparse.
    rusage before = {};
    getrusage(RUSAGE_CHILDREN, &before);
    const Mistakes mistakes = {
            {{"run", "--model", model_, "--input", huge}, "takes 240"},
            {{"run", "--node", "echo", "--input", huge}, "a tensor has at most 2.0 GiB"},
            {{"run", "--model", huge, "--input", huge}, "a model has at most 2.0 GiB"},
            {{"check", huge}, "a model has at most 2.0 GiB"},
            {{"compile", huge, "-o", path("x.orva")}, "at most"},
    };
    for (const auto& [arguments, told] : mistakes) {
        expectRefused(orva(arguments), 1, told);
    }
    fs::resize_file(huge, uint64_t{1} << 30);
    expectRefused(orva({"run", "--model", huge, "--input", huge}), 1, "no usable ONNX model");
    rusage after = {};
    getrusage(RUSAGE_CHILDREN, &after);
    // In KiB, of the largest child of all; the sanitizers' shadows alone are larger.
    if (!kSanitized) {
        EXPECT_LT(after.ru_maxrss, 300 << 10);
    }
}

}  // namespace

}  // namespace orva::test
