/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// `orva perf`, and what is measured by it, beside a host of the test's own.

#include <csignal>

#include <nlohmann/json.hpp>

#include "programs/CommandLineTest.h"

namespace orva::test {

namespace {

using nlohmann::json;

class Perf : public CommandLine {
protected:
    // The report of each subject.
    json perf(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "perf");
        arguments.insert(arguments.end(), {"--json", "--warmup", "0", "--duration", "0.3"});
        const Outcome outcome = orva(arguments);
        EXPECT_EQ(outcome.code, 0) << outcome.errors;
        EXPECT_NE(outcome.errors.find("requests/s"), std::string::npos);
        return json::parse(outcome.output);
    }
    const std::string relu_ = ORVA_ONNX_CASES "/test_relu/model.onnx";
    const std::string abs_ = ORVA_ONNX_CASES "/test_abs/model.onnx";
};

TEST_F(Perf, MeasuresEachWayOfRunning) {
    startHost();
    const std::vector<std::vector<std::string>> ways = {
            {"--node", "echo"},
            {"--node", "echo", "--bytes", "1", "--concurrency", "5", "--tensor", "ion"},
            {"--model", relu_, "--fill", "zero"},
            {"--model", relu_, "--service", "model-manager"},
            {"--model", relu_, "--service", "model-manager", "--bind", "--concurrency", "2"},
            {"--node", "echo", "--rate", "100"},
    };
    for (const auto& way : ways) {
        const json report = perf(way)[0];
        EXPECT_GT(report["requests"], 0) << way.back();
        EXPECT_EQ(report["failures"], 0);
        EXPECT_LE(report["latency"]["min"], report["latency"]["median"]);
        double parts = 0;
        for (const json& part : report["mean_parts"]) {
            parts += part.get<double>();
        }
        EXPECT_NEAR(parts, report["latency"]["mean"].get<double>(), 0.001);
    }
}

TEST_F(Perf, WritesAReportOfSeveralModels) {
    startHost();
    const std::string report = path("report.html");
    const Outcome outcome = orva({"perf", "--model", relu_, "--model", abs_, "--report", report,
                                  "--duration", "0.2", "--warmup", "0"});
    ASSERT_EQ(outcome.code, 0) << outcome.errors;
    std::ifstream file(report);
    const std::string html{std::istreambuf_iterator<char>(file), {}};
    for (const std::string& model : {relu_, abs_}) {
        EXPECT_NE(outcome.output.find("\n" + model + "\n"), std::string::npos);
        EXPECT_NE(html.find("<h2>" + model), std::string::npos);
    }
    expectRefused(orva({"perf", "--model", relu_, "--report", path("none/x.html")}), 1,
                  "there is no folder");
    expectRefused(orva({"perf"}), 2, "--model, or a --node that needs none is required");
    expectRefused(orva({"perf", "--node", "nosuch"}), 1, "type 'nosuch'");
}

TEST_F(Perf, EndsWithWhatItHasAtCtrlCOrWhenTheHostDies) {
    startHost();
    for (const int code : {0, 1}) {
        ChildProcess perf({ORVA_CLIENT, "perf", "--node", "echo", "--duration",
                           code == 0 ? "1000" : "3", "--warmup", "0", "--socket-dir", folder()});
        ASSERT_TRUE(perf.output().await("     1 "));
        code == 0 ? perf.signal(SIGINT) : killHost();
        EXPECT_EQ(perf.await(), code);
        EXPECT_TRUE(perf.output().await("throughput"));
        EXPECT_EQ(rest(perf.errors()).find("requests failed, the first with:") == std::string::npos,
                  code == 0);
    }
}

}  // namespace

}  // namespace orva::test
