/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// `orva top`, `orva nodes` and `orva list --long`: what is seen of a host from outside.

#include <csignal>

#include <nlohmann/json.hpp>

#include "programs/CommandLineTest.h"

namespace orva::test {

namespace {

using nlohmann::json;

TEST_F(CommandLine, ShowsWhoServesWhom) {
    startHost();
    const auto client = newClient();
    EXPECT_EQ(client->ask("session 1"), "000");
    EXPECT_EQ(client->ask("session 2"), "000");
    const json services = json::parse(orva({"list", "--long", "--json"}).output);
    ASSERT_EQ(services.size(), 4U);
    for (const json& service : services) {
        EXPECT_EQ(service["program"], programOf("orva-host"));
        EXPECT_GT(service["threads"], 1);
        EXPECT_GT(service["resident_bytes"], 100'000);
        const bool isOurs = service["interface"] == client::AIService::descriptor;
        ASSERT_EQ(service["clients"].size(), isOurs ? 1U : 0U) << service;
        if (isOurs) {
            EXPECT_EQ(service["clients"][0]["pid"], client->pid());
            EXPECT_EQ(service["clients"][0]["program"], programOf("system_client"));
            EXPECT_EQ(service["clients"][0]["sessions"], 2);
        }
    }
    EXPECT_NE(orva({"list", "--long"}).output.find(programOf("system_client") + ", 2 sessions"),
              std::string::npos);
    EXPECT_EQ(client->finish(), 0);
}

TEST_F(CommandLine, ListsWhatSessionsCanBeOpenedWith) {
    expectRefused(orva({"nodes"}), 1, "start orva-host");
    startHost();
    const json nodes = json::parse(orva({"nodes", "--json"}).output);
    ASSERT_EQ(nodes.size(), 3U);
    EXPECT_EQ(nodes[0]["type"], "echo");
    EXPECT_EQ(nodes[1]["from"], "built in");
    EXPECT_EQ(nodes[2]["type"], nullptr);
    const std::string text = orva({"nodes"}).output;
    EXPECT_NE(text.find("\nonnx   IAIService            built in\n  One ONNX"), std::string::npos)
            << text;
    EXPECT_NE(orva({"list", "--long"}).output.find("  node echo\n  node onnx\n"),
              std::string::npos);
}

TEST_F(CommandLine, WatchesAHost) {
    expectRefused(orva({"top"}), 1, "start orva-host");
    startHost();
    const auto client = newClient();
    EXPECT_EQ(client->ask("session 1"), "000");
    ChildProcess top({ORVA_CLIENT, "top", "--interval", "0.05", "--socket-dir", folder()});
    const std::string id = std::to_string(client->pid()) + ":1";
    // Into a pipe goes plain text, again and again.
    ASSERT_TRUE(top.output().await(id, 2));
    EXPECT_EQ(top.output().text().find('\033'), std::string::npos);
    EXPECT_EQ(client->ask("rounds 1"), "0");
    ASSERT_TRUE(top.output().await("1 done, 0 refused"));
    top.signal(SIGINT);
    EXPECT_EQ(top.await(), 0);

    EXPECT_EQ(client->ask("session 2"), "000");
    EXPECT_EQ(client->ask("send 2 100"), "0");
    EXPECT_EQ(client->ask("await"), "0 same");
    const json states = json::parse(orva({"debug", "--json"}).output);
    ASSERT_EQ(states.size(), 2U);
    ASSERT_EQ(states[0]["latest_requests"].size(), 1U);
    EXPECT_EQ(states[0]["latest_requests"][0]["state"], "ended");
    const std::string shown = "    session \"" + std::to_string(client->pid()) + ":2\" state ";
    EXPECT_NE(orva({"debug", "ai"}).output.find(shown), std::string::npos);
    EXPECT_EQ(orva({"debug", "--client", id}).output.find(shown), std::string::npos);
    EXPECT_EQ(client->finish(), 0);

    ChildProcess orphan({ORVA_CLIENT, "top", "--interval", "0.05", "--socket-dir", folder()});
    ASSERT_TRUE(orphan.output().await("IAIService"));
    killHost();
    EXPECT_EQ(orphan.await(), 1);
}

TEST_F(CommandLine, SaysWhyItWasRefused) {
    startHost();
    const std::string bytes = file("bytes", std::string(4096, 'x'));
    std::ifstream relu(ORVA_ONNX_CASES "/test_relu/model.onnx", std::ios::binary);
    std::string unknown{std::istreambuf_iterator<char>(relu), {}};
    unknown.replace(unknown.find("Relu"), 4, "Rely");
    const std::string model = file("unknown.onnx", unknown);
    const Mistakes mistakes = {
            // The framework's reasons.
            {{"run", "--model", model}, "Service init failed: model unknown: "},
            {{"check", model}, "model refused: "},
            {{"run", "--service", "model-manager", "--model", model}, "Rely"},
            {{"run", "--node", "nope", "--input", bytes}, "create AIService type nope error"},
            {{"perf", "--node", "nope"}, "create AIService type nope error"},
            {{"run", "--node", "onnx", "--input", bytes}, "Service init failed"},
            // Taken, and then found to want a shape that its data cannot have.
            {{"run", "--model", ORVA_ONNX_CASES "/test_reshape_reordered_all_dims/model.onnx"},
             "(the engine gave up): Non-zero status code"},
    };
    for (const auto& [arguments, told] : mistakes) {
        expectRefused(orva(arguments), 1, told);
    }
}

}  // namespace

}  // namespace orva::test
