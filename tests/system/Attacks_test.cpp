/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Clients that misbehave, while honest ones work: nobody but the former may notice.

#include <algorithm>
#include <filesystem>
#include <sstream>

#include "system/SystemTest.h"

namespace orva::test {

namespace {

using namespace std::chrono_literals;
using std::chrono::microseconds;

// The names of those that the program lists.
std::vector<std::string> attacks() {
    ChildProcess program({ORVA_ATTACK, "--list"});
    program.await();
    std::istringstream lines(program.output().text());
    std::vector<std::string> names;
    for (std::string name, what; lines >> name && getline(lines, what);) {
        names.push_back(name);
    }
    return names;
}

constexpr int kHonestClients = 4;
// A machine that others use is slow now and then. What an attack does to others, it does each time.
constexpr int kTries = 3;
constexpr int kUnavailable = 77;
// A sanitizer's host, or an emulated one, is slower than what it is measured with.
constexpr bool kSlow = kSanitized || kEmulated;
constexpr int kSlower = kSlow ? 8 : 1;
// What may stay: allocators keep some.
constexpr size_t kMostBytesLeft = size_t{64} << 20;
// Of the runtime's pool, the framework, and what stands in for either for a while.
constexpr size_t kMostThreadsLeft = 32;

// How an honest client's work went.
struct Outcome {
    explicit Outcome(const std::string& text) {
        std::istringstream numbers(text);
        int64_t p99Count = 0, longestCount = 0;
        isWhole = static_cast<bool>(numbers >> count >> lost >> p99Count >> longestCount);
        p99 = microseconds(p99Count);
        longest = microseconds(longestCount);
    }
    bool isWhole;  // else the client had no more to say than that
    int64_t count = 0;
    int64_t lost = 0;
    microseconds p99;
    microseconds longest;
};

class Attacks : public SystemTest, public ::testing::WithParamInterface<std::string> {
protected:
    void honestClientsMeasure() {
        for (int i = 0; i < kHonestClients; ++i) {
            honest_.push_back(newClient());
            honest_.back()->write("measure 300");
        }
        for (const auto& client : honest_) {
            const Outcome outcome(client->answer());
            ASSERT_TRUE(outcome.isWhole && outcome.lost == 0) << client->errors().text();
            limit_ = std::max(limit_, outcome.p99 * 10);
        }
        limit_ = std::max<microseconds>(limit_, 250ms) * kSlower;
    }

    void honestClientsWork() {
        for (const auto& client : honest_) {
            ASSERT_EQ(client->ask("work"), "0");
        }
    }

    // Whether none of them had to wait for long; all else must hold each time.
    bool honestClientsNoticedNothing() {
        microseconds worst{0};
        for (const auto& client : honest_) {
            client->write("rest");
        }
        for (const auto& client : honest_) {
            const std::string text = client->answer();
            const Outcome outcome(text);
            EXPECT_TRUE(outcome.isWhole) << text << client->errors().text();
            EXPECT_GT(outcome.count, 0);
            EXPECT_EQ(outcome.lost, 0) << client->errors().text();
            EXPECT_EQ(client->finish(), 0);
            worst = std::max(worst, outcome.longest);
        }
        honest_.clear();
        printf("honest calls took %ld us at the most, of %ld\n", worst.count(), limit_.count());
        return worst <= limit_;
    }

    // One attack on a host of its own; `code` is the attacker's exit code.
    void tryOnce(const std::string& attack, int* code, bool* unnoticed) {
        limit_ = microseconds(0);
        startHost({"--log-limit", "600"});
        ASSERT_NO_FATAL_FAILURE(honestClientsMeasure());
        ASSERT_NO_FATAL_FAILURE(honestClientsWork());
        ChildProcess attacker({ORVA_ATTACK, "--socket-dir", folder(), attack});
        *code = attacker.await();
        const bool quick = honestClientsNoticedNothing();
        EXPECT_TRUE(*code == 0 || *code == kUnavailable) << *code << attacker.errors().text();
        // Nothing of a client's begins a line, and there is not much of it.
        const std::string& log = host().log().text();
        EXPECT_EQ(log.find("\nFORGED"), std::string::npos);
        EXPECT_EQ(log.find('\x1b'), std::string::npos);
        EXPECT_LT(log.size(), size_t{1} << 20);
        expectServed(*newClient());
        *unnoticed = hostHasRecovered(atStart()) && quick;
    }

    // Whether what the attacker held, the host has back; else says what it has still.
    bool hostHasRecovered(const ProcessState& before) {
        const auto limit = std::chrono::steady_clock::now() + 10s * kSlower;
        ProcessState now;
        bool recovered = false;
        eventually([&] {
            now = ProcessState::of(host().pid());
            recovered = now.descriptors == before.descriptors && now.regions == before.regions &&
                        now.threads <= kMostThreadsLeft &&
                        (kSlow || now.memory <= before.memory + kMostBytesLeft);
            return recovered || std::chrono::steady_clock::now() > limit;
        });
        if (!recovered) {
            std::ostringstream states;
            states << "before " << before << "; now " << now;
            printf("the host has not recovered: %s\n", states.str().c_str());
            const std::string folder = "/proc/" + std::to_string(host().pid()) + "/fd";
            for (const auto& entry : std::filesystem::directory_iterator(folder)) {
                printf("  %s\n", std::filesystem::read_symlink(entry).c_str());
            }
            killHost();  // It would be waited for again.
        }
        return recovered;
    }

    std::vector<std::unique_ptr<ClientProcess>> honest_;
    microseconds limit_{0};
};

TEST_P(Attacks, CostNobodyElseAnything) {
    bool unnoticed = false;
    int code = 0;
    for (int i = 0; i < kTries && !unnoticed && !HasFailure(); ++i) {
        if (hasHost()) {
            stopHost();
        }
        tryOnce(GetParam(), &code, &unnoticed);
    }
    EXPECT_TRUE(unnoticed) << "honest calls had to wait, or the host kept something, in each try";
    if (code == kUnavailable) {
        GTEST_SKIP() << "this machine lacks what it takes";
    }
}

INSTANTIATE_TEST_SUITE_P(Each, Attacks, ::testing::ValuesIn(attacks()), [](const auto& each) {
    std::string name = each.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
});

TEST(AttackProgram, TriesOnlyWhatItLists) {
    EXPECT_LE(22U, attacks().size());
    for (const auto& options : std::vector<std::vector<std::string>>{{}, {"no-such"}}) {
        std::vector<std::string> command = {ORVA_ATTACK};
        command.insert(command.end(), options.begin(), options.end());
        EXPECT_EQ(ChildProcess(command).await(), 2);
    }
}

}  // namespace

}  // namespace orva::test
