/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/report/HostState.h"

#include <gtest/gtest.h>

#include <sstream>

#include "client/report/HostRequests.h"

namespace orva::client {
namespace {

constexpr char kDump[] = R"({
    "service": "IAIService", "pid": 1, "age_s": 12.5,
    "requests": {"in_flight": 2, "done": 100, "taken_us": 5000},
    "refusals": 7,
    "latest_refusals": [
        {"ago_s": 9.2, "text": "old"}, {"ago_s": 5.2, "text": "more"}, {"ago_s": 4.2, "text": "late"},
        {"ago_s": 3.2, "client": "12:1", "program": "b", "method": "Process", "status": 103,
         "text": "last"}],
    "held": {"mapped_bytes": 2048},
    "sessions": [{"id": "4711:1", "type": "echo", "in_flight": 2, "done": 60, "taken_us": 3000},
                 {"id": "none", "type": "onnx", "state": "opening"}]})";

TEST(HostState, IsReadFromADump) {
    const ServiceState state = serviceStateOf(kDump);
    EXPECT_EQ(state.age, 12.5);
    EXPECT_EQ(state.requests.done, 100U);
    EXPECT_EQ(state.requests.taken, 5000U);
    EXPECT_EQ(state.refusals, 7U);
    EXPECT_EQ(state.mappedBytes, 2048U);
    ASSERT_EQ(state.sessions.size(), 2U);
    EXPECT_EQ(state.sessions[0].pid(), 4711);
    EXPECT_EQ(state.sessions[1].pid(), 0);
    EXPECT_EQ(state.sessions[1].requests.done, 0U);
    for (const char* broken : {"", "options: --json", "[]", "{"}) {
        EXPECT_THROW(serviceStateOf(broken), std::runtime_error) << broken;
    }
}

TEST(HostState, ShowsWhatHasBeenDoneSince) {
    ServiceState before = serviceStateOf(kDump);
    ServiceState now = before;
    now.requests.done += 30;
    now.requests.taken += 90'000;
    now.sessions[0].requests.done += 20;
    now.sessions[0].requests.taken += 30'000;
    now.sessions.push_back({"4711:2", "onnx", {0, 10, 10'000}});  // New: of no rate yet.
    const std::string text = watchText({before}, {now}, 2, 80);
    EXPECT_NE(text.find("15.0 requests/s, 2 at work"), std::string::npos) << text;
    EXPECT_NE(text.find("3.00 ms each"), std::string::npos) << text;
    EXPECT_NE(text.find("130 done, 7 refused"), std::string::npos) << text;
    const size_t last = text.find("3 s ago: 12:1 b, Process = 103\n               last\n");
    EXPECT_LT(last, text.find("late\n")) << text;  // The latest first, and not all.
    EXPECT_EQ(text.find("old\n"), std::string::npos) << text;
    EXPECT_NE(text.find("4711:1         10.0    1.50    2 gone, echo"), std::string::npos) << text;
    EXPECT_NE(text.find("4711:2          0.0       -    0 gone, onnx"), std::string::npos) << text;
    // Another host in the same place has done less; that is no rate.
    before.pid = 2;
    EXPECT_NE(watchText({before}, {now}, 2, 80).find(" 0.0 requests/s"), std::string::npos);
    now.sessions[0].type = std::string(300, 'x');
    std::istringstream lines(watchText({}, {now}, 0, 40));
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 40U) << line;
    }
}

TEST(HostState, KnowsHowLongRequestsTakeThatOutlastALook) {
    // One of 25 ms, looked at every 10 ms, and then another that is at work.
    const std::pair<RequestState, const char*> looks[] = {{{1, 7, 110'000}, "-"},
                                                          {{1, 7, 120'000}, "-"},
                                                          {{1, 8, 130'000}, "30.00 ms each"},
                                                          {{1, 8, 140'000}, "-"},
                                                          {{1, 9, 150'000}, "20.00 ms each"},
                                                          {{0, 10, 50}, "-"}};
    std::vector<ServiceState> before = {serviceStateOf(kDump)};
    before[0].requests = {0, 7, 100'000, 100'000};
    for (const auto& [requests, shown] : looks) {
        std::vector<ServiceState> now = before;
        now[0].requests = requests;
        follow(before, &now);
        const std::string text = watchText(before, now, 0.01, 80);
        EXPECT_NE(text.find(std::string(shown) == "-" ? "- ms each" : shown), std::string::npos)
                << text;
        before = now;
    }
}

// A session has an id only once its client has asked for something by it.
TEST(HostState, ShowsTheRequestsOfOneClient) {
    nlohmann::ordered_json requests;
    for (const char* const session : {"47:1", "process 47", "471:1", "process 471", "47:11"}) {
        requests.push_back({{"service", "IAIService"}, {"session", session}});
    }
    requests.push_back({{"service", "IModelManagerService"}, {"session", "47:1"}});
    const std::vector<std::pair<std::string, size_t>> cases = {
            {"", 5}, {"47", 3}, {"47:1", 1}, {"471", 2}, {"4", 0}};
    for (const auto& [client, count] : cases) {
        EXPECT_EQ(requestsOf(requests, "IAIService", client).size(), count) << client;
    }
}

}  // namespace
}  // namespace orva::client
