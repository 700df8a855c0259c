/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/File.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace orva::test {

namespace {

namespace fs = std::filesystem;

TEST(WriteFile, ReplacesAllOrNothingAndKeepsLinkAndMode) {
    const fs::path folder = testing::TempDir() + "orva-file-test-" + std::to_string(getpid());
    fs::create_directories(folder);
    const fs::path file = folder / "file", link = folder / "link";
    const auto write = [](const fs::path& path, const std::string& content) {
        client::writeFile(path, reinterpret_cast<const uint8_t*>(content.data()), content.size());
    };
    const auto isNew = [&] {
        char word[8] = {};
        std::ifstream(file).read(word, sizeof word - 1);
        return std::string(word) == "new";
    };
    write(file, "a longer old one");
    fs::permissions(file, fs::perms::owner_write | fs::perms::owner_read);
    fs::create_symlink("file", link);
    write(link, "new");
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(isNew());
    EXPECT_EQ(static_cast<int>(fs::status(file).permissions()), 0600);

    // A file may grow to ten bytes now, as on a disk that fills up.
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit tenBytes = {10, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tenBytes), 0);
    EXPECT_THROW(write(file, "more than ten bytes"), std::system_error);
    EXPECT_THROW(write(folder / "none", "more than ten bytes"), std::system_error);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_TRUE(isNew());
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 2) << "nothing half-made";

    fs::remove_all(folder);
}

}  // namespace

}  // namespace orva::test
