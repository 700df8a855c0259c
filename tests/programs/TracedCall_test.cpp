/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/trace/TracedCall.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "client/trace/ChromeTrace.h"
#include "client/trace/TraceText.h"

namespace orva::client {
namespace {

using nlohmann::json;

constexpr auto kWide = SIZE_MAX;
constexpr char kProcess[] =
        R"({"event":"begin","id":7,"at":2000000,"thread":20,"client":10,"kind":"call",)"
        R"("interface":"IAIService","method":"Process","arguments":{"clientId":1,"context":"a\u001b[2J",)"
        R"("inputs":[{"type":"T","bytes":2048,"record":{"dataType":1,"height":4,"width":5,"number":2,"channel":3}},)"
        R"({"type":"T","bytes":9},{"more":4}]}})";
constexpr char kDone[] =
        R"({"event":"begin","id":8,"at":5000000,"thread":21,"client":10,"kind":"callback",)"
        R"("interface":"IAIServiceListener","method":"OnProcessDone","arguments":{"result":0,)"
        R"("context":"{\"queueMicros\":\"1000\",\"runMicros\":\"500\"}","outputs":[]}})";

std::string endOf(int id, const std::string& more) {
    return R"({"event":"end","id":)" + std::to_string(id) + R"(,"at":5100000,)" + more + "}";
}

// The call of a line, and of another that ends it.
TracedCall called(const std::string& begin, const std::string& end) {
    TracedCalls calls;
    EXPECT_FALSE(calls.take(begin)) << begin;
    const auto call = calls.take(end);
    EXPECT_TRUE(call) << end;
    EXPECT_TRUE(calls.open().empty());
    return call.value_or(TracedCall());
}

TEST(TracedCalls, AreMadeOfTwoLines) {
    TracedCalls calls;
    EXPECT_FALSE(calls.take(R"({"event":"watching","host":5})"));
    EXPECT_EQ(calls.host(), 5);
    EXPECT_FALSE(calls.take(endOf(6, R"("results":{})")));  // Began before.
    EXPECT_FALSE(calls.take(kProcess));
    EXPECT_EQ(calls.open().count(7), 1U);
    EXPECT_FALSE(calls.take(R"({"event":"lost","count":3})"));
    EXPECT_EQ(calls.lost(), 3U);
    const auto call = calls.take(endOf(7, R"("results":{"status":2})"));
    ASSERT_TRUE(call);
    EXPECT_EQ(call->status(), 2);
    EXPECT_TRUE(call->hasFailed());
    EXPECT_EQ(call->duration(), std::chrono::microseconds(3100));
    for (const char* broken : {"", "[]", "{}", R"({"event":"begin"})", R"({"event":"lost"})",
                               R"({"event":"refused","reason":"8 are watching"})"}) {
        EXPECT_THROW(calls.take(broken), std::runtime_error) << broken;
    }
}

TEST(TracedCalls, AreShownWithWhatTheyCarry) {
    const TracedCall call = called(kProcess, endOf(7, R"("results":{"status":2})"));
    EXPECT_EQ(callText(call, std::chrono::milliseconds(1), kWide),
              "0.001000 10/20 > Process(clientId 1, context \"a\\u001b[2J\", inputs "
              "[T 2.0 KiB float32 n2 c3 h4 w5, T 9 bytes without a record, and 4 more]) = status 2 "
              "(no such session) <3.10 ms>");
    std::istringstream lines(callText(call, TracedCall::Time(0), 40));
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 40U) << line;
    }
    const TracedCall lost = called(kDone, endOf(8, R"("failed":true)"));
    const std::string told = callText(lost, TracedCall::Time(0), kWide);
    EXPECT_NE(told.find(" < OnProcessDone(result 0"), std::string::npos);
    EXPECT_NE(told.find("could not be told"), std::string::npos);
    EXPECT_EQ(callJson(lost, TracedCall::Time(0))["failed"], true);
}

TEST(TracedCalls, AreCountedByMethod) {
    TraceSummary summary;
    summary.add(called(kProcess, endOf(7, R"("results":{"status":0})")));
    summary.add(called(kProcess, endOf(7, R"("results":{"status":1})")));
    summary.add(called(kDone, endOf(8, R"("results":{})")));
    const auto json = summary.json();
    ASSERT_EQ(json.size(), 2U);
    EXPECT_EQ(json[0]["calls"], 2);
    EXPECT_EQ(json[0]["failed"], 1);
    EXPECT_LT(summary.text().find("IAIService::Process"), summary.text().find("OnProcessDone"));
}

TEST(ChromeTrace, PutsCallsAndRequestsOnATimeLine) {
    const std::string path = testing::TempDir() + "trace_test.json";
    const auto now = std::chrono::milliseconds(9);
    ChromeTrace trace(path);
    trace.add(called(kProcess, endOf(7, R"("results":{"status":0})")), now);
    trace.add(called(kDone, endOf(8, R"("results":{})")), now);
    TracedCalls calls;
    calls.take(kProcess);
    trace.add(calls.open().at(7), now);
    trace.addLost(3, now);
    trace.close();

    std::ifstream file(path);
    const json events = json::parse(file)["traceEvents"];
    std::vector<std::string> seen;
    for (const json& event : events) {
        seen.push_back(event["ph"].get<std::string>() + " " + event["name"].get<std::string>() +
                       (event.contains("ts") ? " " + event["ts"].dump() : "") +
                       (event.contains("dur") ? "+" + event["dur"].dump() : ""));
    }
    EXPECT_EQ(seen, (std::vector<std::string>{
                            "M process_name", "M thread_name", "X Process 2000.0+3100.0",
                            "M thread_name", "X OnProcessDone 5000.0+100.0", "b request 3500.0",
                            "b waits 3500.0", "e waits 4500.0", "b runs 4500.0", "e runs 5000.0",
                            "b result 5000.0", "e result 5100.0", "e request 5100.0",
                            "X Process 2000.0+7000.0", "i 3 lines lost 9000.0"}));
    EXPECT_EQ(events[2]["pid"], 10);
    EXPECT_EQ(events[2]["tid"], 20);
    std::filesystem::remove(path);
    EXPECT_THROW(ChromeTrace("/nowhere/trace.json"), std::system_error);
}

}  // namespace
}  // namespace orva::client
