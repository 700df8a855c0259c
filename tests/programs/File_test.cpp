/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/File.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orva::test {

namespace {

namespace fs = std::filesystem;

class FileTest : public testing::Test {
protected:
    void SetUp() override {
        mFolder = fs::path(testing::TempDir()) / ("orva-file-test-" + std::to_string(getpid()));
        fs::create_directories(mFolder);
    }
    void TearDown() override { fs::remove_all(mFolder); }

    static void write(const fs::path& path, const std::string& content) {
        client::writeFile(path, reinterpret_cast<const uint8_t*>(content.data()), content.size());
    }
    static std::string read(const fs::path& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }
    // Nothing but what the test has made.
    size_t files() const {
        return static_cast<size_t>(
                std::distance(fs::directory_iterator(mFolder), fs::directory_iterator()));
    }

    fs::path mFolder;
};

TEST_F(FileTest, ReplacesAFileThroughALinkAndKeepsItsMode) {
    write(mFolder / "file", "a longer old one");
    constexpr auto kPrivate = fs::perms::owner_read | fs::perms::owner_write;
    fs::permissions(mFolder / "file", kPrivate);
    fs::create_symlink("file", mFolder / "link");
    write(mFolder / "link", "new");
    EXPECT_TRUE(fs::is_symlink(mFolder / "link"));
    EXPECT_EQ(read(mFolder / "file"), "new");
    EXPECT_EQ(fs::status(mFolder / "file").permissions(), kPrivate);
    EXPECT_EQ(files(), 2U);
}

// A file may grow to ten bytes here, as on a disk that fills up.
TEST_F(FileTest, AFailureLeavesTheFileAsItWas) {
    write(mFolder / "file", "old");
    rlimit before = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit tenBytes = {10, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tenBytes), 0);
    EXPECT_THROW(write(mFolder / "file", "more than ten bytes"), std::system_error);
    EXPECT_THROW(write(mFolder / "none", "more than ten bytes"), std::system_error);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(read(mFolder / "file"), "old");
    EXPECT_EQ(files(), 1U);
}

TEST_F(FileTest, ADeviceIsWrittenToAndNotReplaced) {
    ASSERT_EQ(mkfifo((mFolder / "pipe").c_str(), 0600), 0);
    std::fstream reader(mFolder / "pipe");  // both ways, so that nobody waits
    write(mFolder / "pipe", "word\n");
    std::string word;
    reader >> word;
    EXPECT_EQ(word, "word");
    EXPECT_TRUE(fs::is_fifo(mFolder / "pipe"));
}

}  // namespace

}  // namespace orva::test
