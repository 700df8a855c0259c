/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/Output.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace orva::client {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& why) {
    throw std::runtime_error("cannot write " + path + ": " + why);
}

void requireWritable(const fs::path& file, const std::string& path) {
    if (access(file.c_str(), W_OK) != 0) {
        fail(path, std::strerror(errno));
    }
}

}  // namespace

void requireOutputFile(const std::string& path, const std::vector<std::string>& inputs) {
    std::error_code error;
    for (const std::string& input : inputs) {
        if (fs::equivalent(path, input, error)) {
            fail(path, "it is an input (" + input + ")");
        }
    }
    if (path.empty()) {
        fail("a file without a name", std::strerror(ENOENT));
    }
    const fs::file_status status = fs::status(path, error);
    if (fs::is_directory(status)) {
        fail(path, "it is a folder");
    }
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        requireWritable(path, path);
        return;
    }
    // A file is replaced by a new one of its folder, the one that it really lies in.
    const fs::path target = fs::exists(status) ? fs::canonical(path, error) : fs::path(path);
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    if (!fs::is_directory(folder, error)) {
        fail(path, "there is no folder " + folder.string());
    }
    requireWritable(folder, path);
}

void requireOutputFolder(const std::string& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (!fs::is_directory(path)) {
        fail("into " + path, error ? error.message() : "it is no folder");
    }
    requireWritable(path, "into " + path);
}

void holdStandardStreams() {
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        if (fcntl(stream, F_GETFD) < 0) {
            // The lowest free number is this one's. What is written there fails.
            [[maybe_unused]] const int held = open("/dev/null", O_RDONLY);
        }
    }
}

bool finishStandardOutput() {
    const bool failedBefore = ferror(stdout) != 0;
    errno = 0;
    if (fflush(stdout) == 0 && !failedBefore) {
        return true;
    }
    if (errno != EPIPE) {
        // Of an earlier failure the reason is not known any more.
        const int error = errno;
        fprintf(stderr, "orva: cannot write the output%s%s\n", error != 0 ? ": " : "",
                error != 0 ? std::strerror(error) : "");
    }
    return false;
}

}  // namespace orva::client
