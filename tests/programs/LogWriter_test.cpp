/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "host/LogWriter.h"

#include <android/log.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

namespace orva::host {
namespace {

using namespace std::chrono_literals;

TEST(LogWriter, ForeignTextsCannotBeMoreThanText) {
    const std::pair<const char*, const char*> cases[] = {
            {"plain text, 100 %s \"quoted\"", "plain text, 100 %s \"quoted\""},
            {"a\nAIServiceHIDL E 11-22 forged", "a\\nAIServiceHIDL E 11-22 forged"},
            {"\x1b[2J\r\b\x7f\ttab", "\\x1b[2J\\x0d\\x08\\x7f\\ttab"},
            {"\xe2\x80\xae"
             "reversed \x9b"
             "1m",
             "\\xe2\\x80\\xaereversed \\x9b1m"},
            {"", ""},
    };
    for (const auto& [text, safe] : cases) {
        EXPECT_EQ(escaped(text), safe);
    }
}

class LogWriterTest : public ::testing::Test {
protected:
    ~LogWriterTest() override { fclose(file_); }

    // The messages of the lines that were written since the last time, without what varies.
    std::string messages() {
        std::string text(10000, '\0');
        const ssize_t got = pread(fileno(file_), text.data(), text.size(), read_);
        text.resize(got > 0 ? static_cast<size_t>(got) : 0);
        read_ += got;
        std::istringstream lines(text);
        std::string result;
        for (std::string tag, level, date, time, pid, thread, message;
             lines >> tag >> level >> date >> time >> pid >> thread && getline(lines, message);) {
            result += level + message + "; ";
        }
        return result;
    }

    FILE* const file_ = tmpfile();
    off_t read_ = 0;
    LogWriter::Clock::time_point now_{};
    LogWriter log_{fileno(file_), 20, [this] { return now_; }};
};

TEST_F(LogWriterTest, AProcessHasItsShareAndTheLogSaysWhatIsMissing) {
    std::string expected;
    for (int i = 0; i < 20 + 5; ++i) {
        log_.write(7, ANDROID_LOG_ERROR, "tag", "a");
        log_.write(0, ANDROID_LOG_INFO, "tag", "own");
        expected += i < 20    ? "E a; "
                    : i == 20 ? "W process 7 causes more lines than it may (--log-limit); they are "
                                "left out; "
                              : "";
        expected += "I own; ";
    }
    EXPECT_EQ(messages(), expected);
    log_.write(8, ANDROID_LOG_WARN, "tag", "another's\n");
    EXPECT_EQ(messages(), "W another's\\n; ");

    // It is a while before it is heard again.
    now_ += 3s;
    log_.write(7, ANDROID_LOG_ERROR, "tag", "b");
    EXPECT_EQ(messages(), "");
    now_ += 4s;
    log_.write(7, ANDROID_LOG_ERROR, "tag", "c");
    EXPECT_EQ(messages(), "W 6 lines that process 7 caused were left out; E c; ");

    for (int i = 0; i < 5; ++i) {
        log_.write(7, ANDROID_LOG_ERROR, "tag", "d");
    }
    messages();
    log_.forget(7);
    log_.forget(8);
    EXPECT_EQ(messages(), "W 4 lines that process 7 caused were left out; ");
    log_.write(7, ANDROID_LOG_ERROR, "tag", "e");
    EXPECT_EQ(messages(), "E e; ") << "another process of the same number";
}

}  // namespace
}  // namespace orva::host
