/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/HostState.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

#include "support/Machine.h"

namespace orva::client {
namespace {

constexpr char kDump[] = R"({
    "service": "IAIService", "pid": 1, "age_s": 12.5,
    "requests": {"in_flight": 2, "done": 100},
    "refusals": 7,
    "latest_refusals": [
        {"ago_s": 9.2, "client": "1:1", "program": "a", "method": "Init", "status": 1, "text": "old"},
        {"ago_s": 5.2, "client": "1:1", "program": "a", "method": "Init", "status": 1, "text": "more"},
        {"ago_s": 4.2, "client": "1:1", "program": "a", "method": "Init", "status": 1, "text": "late"},
        {"ago_s": 3.2, "client": "12:1", "program": "b", "method": "Process", "status": 103,
         "text": "last"}],
    "held": {"mapped_bytes": 2048},
    "sessions": [{"id": "4711:1", "type": "echo", "in_flight": 2, "done": 60},
                 {"id": "none", "type": "onnx", "state": "opening"}]})";

TEST(HostState, IsReadFromADump) {
    const ServiceState state = serviceStateOf(kDump);
    EXPECT_EQ(state.name, "IAIService");
    EXPECT_EQ(state.age, 12.5);
    EXPECT_EQ(state.done, 100U);
    EXPECT_EQ(state.refusals, 7U);
    EXPECT_EQ(state.mappedBytes, 2048U);
    ASSERT_EQ(state.sessions.size(), 2U);
    EXPECT_EQ(state.sessions[0].pid(), 4711);
    EXPECT_EQ(state.sessions[1].pid(), 0);
    EXPECT_EQ(state.sessions[1].done, 0U);
    for (const char* broken : {"", "options: --json", "[]", "{"}) {
        EXPECT_THROW(serviceStateOf(broken), std::runtime_error) << broken;
    }
}

TEST(HostState, ShowsWhatHasBeenDoneSince) {
    ServiceState before = serviceStateOf(kDump);
    ServiceState now = before;
    now.done += 30;
    now.sessions[0].done += 20;
    now.sessions.push_back({"4711:2", "onnx", 0, 10});  // New: of no rate yet.
    const std::string text = watchText({before}, {now}, 2, 80);
    EXPECT_NE(text.find("15.0 requests/s, 2 at work"), std::string::npos) << text;
    EXPECT_NE(text.find("130 done, 7 refused"), std::string::npos) << text;
    const size_t last = text.find("3 s ago: 12:1 b, Process = 103\n               last\n");
    EXPECT_LT(last, text.find("late\n")) << text;  // The latest first, and not all.
    EXPECT_EQ(text.find("old\n"), std::string::npos) << text;
    EXPECT_NE(text.find("4711:1           10.0     2 gone, echo"), std::string::npos) << text;
    EXPECT_NE(text.find("4711:2            0.0     0 gone, onnx"), std::string::npos) << text;
    // Another host in the same place has done less; that is no rate.
    before.pid = 2;
    EXPECT_NE(watchText({before}, {now}, 2, 80).find(" 0.0 requests/s"), std::string::npos);
    now.sessions[0].type = std::string(300, 'x');
    std::istringstream lines(watchText({}, {now}, 0, 40));
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 40U) << line;
    }
}

TEST(HostState, KnowsProcesses) {
    const auto own = processFacts(getpid());
    ASSERT_TRUE(own);
    EXPECT_EQ(own->program, test::programOf("programs_test"));
    EXPECT_GE(own->threads, 1U);
    EXPECT_GT(own->residentBytes, 100'000U);
    EXPECT_FALSE(processFacts(0));
    EXPECT_FALSE(processFacts(-1));
}

}  // namespace
}  // namespace orva::client
