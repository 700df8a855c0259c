/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/perf/PerfReport.h"

#include <gtest/gtest.h>

#include <sstream>

#include <nlohmann/json.hpp>

namespace orva::client {
namespace {

using std::chrono::milliseconds;

PerfSubject subject(bool serviceTells, milliseconds late) {
    PerfSubject subject = {"<b>&.onnx", 4, {late.count() > 0 ? 100. : 0., {}, {}}, {}};
    for (int i = 0; i < 10; ++i) {
        RequestTiming timing = {milliseconds(2), milliseconds(10), {}};
        if (serviceTells) {
            timing.service = {milliseconds(1), milliseconds(6)};
        }
        subject.report.result.add(timing, late);
    }
    subject.report.measured = milliseconds(500);
    subject.report.seconds.push_back({1, 10, 1, 20, milliseconds(10), milliseconds(10)});
    return subject;
}

TEST(PerfReport, SharesAllOfTheLatencyOut) {
    using Parts = std::vector<std::pair<std::string, double>>;
    const auto parts = [](bool serviceTells, int late) {
        Parts parts;
        for (const TimePart& part : timeParts(subject(serviceTells, milliseconds(late)).report)) {
            parts.emplace_back(part.name, part.milliseconds);
        }
        return parts;
    };
    EXPECT_EQ(parts(false, 0), (Parts{{"call", 2}, {"result", 8}}));
    EXPECT_EQ(parts(false, 5), (Parts{{"late", 5}, {"call", 2}, {"result", 8}}));
    EXPECT_EQ(parts(true, 5), (Parts{{"late", 5}, {"queue", 1}, {"compute", 6}, {"transport", 3}}));
}

TEST(PerfReport, SaysTheSameToPeopleAndScripts) {
    const PerfSubject measured = subject(false, milliseconds(0));
    const nlohmann::json json = perfJson(measured);
    EXPECT_EQ(json["throughput"], 20);
    EXPECT_EQ(json["latency"]["max"], 10);
    EXPECT_EQ(json["mean_parts"]["result"], 8);
    EXPECT_EQ(json["over_time"][0]["failures"], 1);
    const std::string text = perfText(measured) + perfTableHead() + perfTableLine({});
    EXPECT_NE(text.find("20.0 requests/s"), std::string::npos) << text;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 40U) << line;
    }
    // Nothing was done: no numbers are made of that.
    PerfSubject idle = {"idle", 1, {}, {}};
    EXPECT_EQ(perfText(idle).find("nan"), std::string::npos);
    EXPECT_EQ(perfJson(idle)["throughput"], 0);
}

TEST(PerfReport, IsAPageThatNeedsNothingElse) {
    PerfSubject failed = {"failed", 1, {}, {}};
    failed.report.result.failures = 3;
    failed.report.result.firstFailure = "<script>";
    const std::string html = perfHtml({subject(true, milliseconds(5)), failed});
    for (const char* foreign :
         {"<script", "http:", "https:", "src=", "url(", "<b>", "nan", "inf"}) {
        EXPECT_EQ(html.find(foreign), std::string::npos) << foreign;
    }
    EXPECT_NE(html.find("&lt;b&gt;&amp;.onnx"), std::string::npos);
    EXPECT_NE(html.find("99.9th percentile"), std::string::npos);
    EXPECT_NE(html.find("waiting in the service"), std::string::npos);
}

}  // namespace
}  // namespace orva::client
