/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "host/trace/TraceServer.h"

#include <condition_variable>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <orva_platform/Runtime.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

#include "client/trace/TraceSource.h"

namespace orva::host {
namespace {

using client::TraceSource;
using nlohmann::json;

class TraceServerTest : public testing::Test {
protected:
    TraceServerTest()
            : server_(std::make_unique<TraceServer>(
                      folder_,
                      [this](bool on) {
                          const std::lock_guard<std::mutex> lock(mutex_);
                          watched_ = on;
                          changed_.notify_all();
                      },
                      [](const std::string& question) {
                          return question == "what" ? std::string("that")
                                                    : throw std::runtime_error(question);
                      })) {
        orva_platform::setServiceDirectory(folder_);
        server_->start();
    }
    ~TraceServerTest() override {
        server_.reset();
        std::filesystem::remove_all(folder_);
    }

    static std::string newFolder() {
        std::string path = testing::TempDir() + "traceXXXXXX";
        EXPECT_NE(mkdtemp(path.data()), nullptr);
        std::ofstream(path + "/trace-2147483646") << "of a process that was killed";
        return path;
    }
    // Empty at the end.
    static std::string line(TraceSource& reader) {
        return reader.next(std::chrono::seconds(30)).value_or("");
    }
    static std::string answer(const json& request) {
        TraceSource reader(getpid(), request);
        return line(reader);
    }
    static std::unique_ptr<TraceSource> watch(const json& clients) {
        auto reader = std::make_unique<TraceSource>(getpid(), clients);
        EXPECT_EQ(line(*reader), R"({"event":"watching","host":)" + std::to_string(getpid()) + "}");
        return reader;
    }
    void awaitWatched(bool on) {
        std::unique_lock<std::mutex> lock(mutex_);
        EXPECT_TRUE(
                changed_.wait_for(lock, std::chrono::seconds(30), [&] { return watched_ == on; }));
    }
    size_t files() const {
        return static_cast<size_t>(std::distance(std::filesystem::directory_iterator(folder_), {}));
    }

    const std::string folder_ = newFolder();
    std::mutex mutex_;
    std::condition_variable changed_;
    bool watched_ = false;
    std::unique_ptr<TraceServer> server_;
};

TEST_F(TraceServerTest, TellsEachReaderOfItsClients) {
    EXPECT_EQ(files(), 1U) << "its own, and no killed process's";
    EXPECT_FALSE(server_->isWanted(1));
    auto all = watch(json::array()), one = watch({7, 8});
    awaitWatched(true);
    EXPECT_TRUE(server_->isWanted(1));
    server_->publish(1, "of 1");
    server_->publish(8, "of 8");
    EXPECT_EQ(line(*all), "of 1");
    EXPECT_EQ(line(*all), "of 8");
    EXPECT_EQ(line(*one), "of 8");
    all.reset();
    // Who asks a question, or for what makes no sense, watches nothing.
    EXPECT_EQ(answer("what"), "that");
    for (const json& wrong : {json::object(), json{"a"}, json("else"), json(7)}) {
        EXPECT_EQ(answer(wrong), "") << wrong;
    }
    one.reset();
    awaitWatched(false);
    EXPECT_FALSE(server_->isWanted(8));
    const auto last = watch({7});
    server_.reset();
    EXPECT_EQ(line(*last), "");
    EXPECT_EQ(files(), 0U);
}

TEST_F(TraceServerTest, LosesLinesOfAReaderThatIsTooSlowAndSaysHowMany) {
    constexpr int kLines = 40'000;
    const std::string padding(300, '.');
    const auto slow = watch(json::array());
    for (int i = 0; i < kLines; ++i) {
        server_->publish(1, std::to_string(i) + padding);
    }
    int seen = 0, lost = 0;
    while (seen + lost < kLines) {
        const std::string text = line(*slow);
        if (text[0] == '{') {
            lost += json::parse(text)["count"].get<int>();
        } else {
            ASSERT_EQ(text, std::to_string(seen + lost) + padding);
            ++seen;
        }
    }
    EXPECT_GT(lost, 0);
    EXPECT_GT(seen, 1000);
    server_->publish(1, "again");
    EXPECT_EQ(line(*slow), "again");
}

TEST_F(TraceServerTest, HasRoomForAFewReaders) {
    std::vector<std::unique_ptr<TraceSource>> readers(8);
    for (auto& reader : readers) {
        reader = watch(json::array());
    }
    EXPECT_EQ(json::parse(answer(json::array()))["event"], "refused");
    server_->publish(1, "to all");
    for (const auto& reader : readers) {
        EXPECT_EQ(line(*reader), "to all");
    }
    readers.clear();
    awaitWatched(false);
    watch(json::array());
}

}  // namespace
}  // namespace orva::host
