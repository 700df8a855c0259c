/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// `orva trace`: what is seen of calls and callbacks from outside.

#include <csignal>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include <nlohmann/json.hpp>

#include "programs/CommandLineTest.h"

namespace orva::test {

namespace {

using nlohmann::json;

class Tracing : public CommandLine {
protected:
    // Once it says that it does.
    std::unique_ptr<ChildProcess> trace(std::vector<std::string> options) {
        options.insert(options.begin(), {ORVA_CLIENT, "trace", "--socket-dir", folder()});
        auto process = std::make_unique<ChildProcess>(options);
        EXPECT_TRUE(process->errors().await("Ctrl-C ends it"));
        return process;
    }
    static std::string end(ChildProcess& process) {
        process.signal(SIGTERM);
        EXPECT_EQ(process.await(), 0);
        return rest(process.output());
    }
};

TEST_F(Tracing, DecodesCallsAndCallbacksOfAClient) {
    expectRefused(orva({"trace"}), 1, "start orva-host");
    startHost();
    const auto client = newClient(), other = newClient();
    const auto one = trace({"--json", "--client", std::to_string(client->pid())});
    const auto all = trace({"--output", path("trace.json")});
    EXPECT_EQ(client->ask("session 1"), "000");
    EXPECT_EQ(other->ask("session 1"), "000");
    EXPECT_EQ(client->ask("rounds 2"), "0");
    ASSERT_TRUE(one->output().await("OnProcessDone", 2));
    EXPECT_EQ(client->ask("uninit 1"), "0");
    ASSERT_TRUE(one->output().await("UnInit", 2));

    std::map<std::string, std::vector<json>> calls;
    std::istringstream lines(end(*one));
    for (std::string line; std::getline(lines, line);) {
        const json call = json::parse(line);
        EXPECT_EQ(call["client"], client->pid()) << line;
        calls[call["method"]].push_back(call);
    }
    ASSERT_EQ(calls["Process"].size(), 2U);
    const json& process = calls["Process"][0];
    EXPECT_EQ(process["interface"], "IAIService");
    EXPECT_EQ(process["results"], (json{{"status", 0}}));
    EXPECT_GT(process["duration_us"], 0);
    const json& input = process["arguments"]["inputs"][0];
    EXPECT_EQ(input["type"], "AINeuralNetworkBuffer");
    EXPECT_EQ(input["record"].size(), 5U) << input;
    ASSERT_EQ(calls["OnProcessDone"].size(), 2U);
    EXPECT_EQ(calls["OnProcessDone"][0]["kind"], "callback");
    EXPECT_EQ(calls["OnProcessDone"][0]["arguments"]["outputs"].size(), 1U);
    EXPECT_EQ(calls["Init"].at(0)["arguments"]["type"], "echo");

    EXPECT_NE(end(*all).find("IAIService::Process"), std::string::npos);
    std::ifstream file(path("trace.json"));
    std::set<int> clients;
    const json written = json::parse(file);
    for (const json& event : written["traceEvents"]) {
        clients.insert(event["pid"].get<int>());
    }
    EXPECT_EQ(clients, (std::set<int>{client->pid(), other->pid()}));
    EXPECT_EQ(client->finish(), 0);
    EXPECT_EQ(other->finish(), 0);
}

TEST_F(Tracing, ShowsForPeopleWhatTheyAskFor) {
    startHost();
    const auto client = newClient();
    const auto text = trace({}), some = trace({"--count", "2"});
    EXPECT_EQ(client->ask("init 1 echo"), "0");
    EXPECT_EQ(client->ask("send 2 16"), "2");  // There is no such session.
    ASSERT_TRUE(text->output().await("= status 2 (no such session)"));
    EXPECT_EQ(some->await(), 0);
    EXPECT_NE(end(*text).find("> Init(clientId 1, type \"echo\""), std::string::npos);
    EXPECT_EQ(client->finish(), 0);

    const auto orphan = trace({"--summary"});
    expectRefused(orva({"trace", "--output", folder()}), 1, "it is a folder");
    killHost();
    EXPECT_EQ(orphan->await(), 0);
    EXPECT_TRUE(orphan->errors().await("has ended"));
}

}  // namespace

}  // namespace orva::test
