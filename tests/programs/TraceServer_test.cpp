/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "host/trace/TraceServer.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <nlohmann/json.hpp>

namespace orva::host {
namespace {

using android::base::unique_fd;
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
                      TraceServer::Answers{{"what", "that"}})) {
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

    class Reader {
    public:
        Reader(const std::string& path, const std::string& request)
                : socket_(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
            sockaddr_un address = {AF_UNIX, {}};
            path.copy(address.sun_path, sizeof address.sun_path - 1);
            EXPECT_EQ(::connect(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
            // Who is refused may not get it off any more.
            send(socket_, request.data(), request.size(), MSG_NOSIGNAL);
        }
        // Empty at the end.
        std::string line() {
            size_t end = 0;
            while ((end = read_.find('\n', begin_)) == std::string::npos) {
                read_.erase(0, begin_);
                begin_ = 0;
                char bytes[65536];
                const ssize_t size = recv(socket_, bytes, sizeof bytes, 0);
                if (size <= 0) {
                    return "";
                }
                read_.append(bytes, static_cast<size_t>(size));
            }
            std::string line = read_.substr(begin_, end - begin_);
            begin_ = end + 1;
            return line;
        }

    private:
        unique_fd socket_;
        std::string read_;
        size_t begin_ = 0;
    };

    std::unique_ptr<Reader> connect(const std::string& request) const {
        return std::make_unique<Reader>(file(), request);
    }
    std::unique_ptr<Reader> watch(const std::string& request) const {
        auto reader = connect(request);
        EXPECT_EQ(reader->line(),
                  R"({"event":"watching","host":)" + std::to_string(getpid()) + "}");
        return reader;
    }
    void awaitWatched(bool on) {
        std::unique_lock<std::mutex> lock(mutex_);
        EXPECT_TRUE(
                changed_.wait_for(lock, std::chrono::seconds(30), [&] { return watched_ == on; }));
    }
    std::string file() const { return folder_ + "/trace-" + std::to_string(getpid()); }

    const std::string folder_ = newFolder();
    std::mutex mutex_;
    std::condition_variable changed_;
    bool watched_ = false;
    std::unique_ptr<TraceServer> server_;
};

TEST_F(TraceServerTest, TellsEachReaderOfItsClients) {
    EXPECT_FALSE(server_->isWanted(1));
    auto all = watch("[]\n"), one = watch("[7, 8]\n");
    awaitWatched(true);
    EXPECT_TRUE(server_->isWanted(1));
    server_->publish(1, "of 1");
    server_->publish(8, "of 8");
    EXPECT_EQ(all->line(), "of 1");
    EXPECT_EQ(all->line(), "of 8");
    EXPECT_EQ(one->line(), "of 8");
    all.reset();
    // Who has not asked yet, or asks for what makes no sense, watches nothing.
    const auto silent = connect("[");
    EXPECT_EQ(connect("\"what\"\n")->line(), "that");
    for (const char* wrong : {"{}\n", "\n", "[\"a\"]\n", "\"else\"\n", "nothing\n"}) {
        EXPECT_EQ(connect(wrong)->line(), "") << wrong;
    }
    one.reset();
    awaitWatched(false);
    EXPECT_FALSE(server_->isWanted(8));
    EXPECT_FALSE(std::filesystem::exists(folder_ + "/trace-2147483646"));
    server_.reset();
    EXPECT_EQ(silent->line(), "");
    EXPECT_FALSE(std::filesystem::exists(file()));
}

TEST_F(TraceServerTest, LosesLinesOfAReaderThatIsTooSlowAndSaysHowMany) {
    constexpr int kLines = 40'000;
    const std::string padding(300, '.');
    const auto slow = watch("[]\n");
    for (int i = 0; i < kLines; ++i) {
        server_->publish(1, std::to_string(i) + padding);
    }
    int seen = 0, lost = 0, next = 0;
    while (next < kLines) {
        const std::string text = slow->line();
        if (text[0] == '{') {
            const int count = json::parse(text)["count"];
            lost += count;
            next += count;
        } else {
            EXPECT_EQ(text, std::to_string(next) + padding);
            ++seen;
            ++next;
        }
    }
    EXPECT_GT(lost, 0);
    EXPECT_GT(seen, 1000);
    server_->publish(1, "again");
    EXPECT_EQ(slow->line(), "again");
}

TEST_F(TraceServerTest, HasRoomForAFewReaders) {
    std::vector<std::unique_ptr<Reader>> readers;
    readers.reserve(8);
    for (int i = 0; i < 8; ++i) {
        readers.push_back(watch("[]\n"));
    }
    const std::string refusal = connect("[]\n")->line();
    EXPECT_EQ(json::parse(refusal)["event"], "refused");
    server_->publish(1, "to all");
    for (const auto& reader : readers) {
        EXPECT_EQ(reader->line(), "to all");
    }
    readers.clear();
    awaitWatched(false);
    watch("[]\n");
}

}  // namespace
}  // namespace orva::host
