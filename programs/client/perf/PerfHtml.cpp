/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "client/perf/PerfReport.h"

namespace orva::client {

namespace {

constexpr double kWidth = 720;
constexpr double kHeight = 200;
constexpr size_t kBars = 60;
constexpr const char* kColours[] = {"#4c78a8", "#f58518", "#54a24b", "#b279a2"};

constexpr char kHead[] = R"(<!doctype html>
<html lang="en"><meta charset="utf-8"><title>orva perf</title>
<meta name="viewport" content="width=device-width">
<style>
:root { color-scheme: light dark; }
body { font: 15px/1.5 system-ui, sans-serif; max-width: 46rem; margin: 2rem auto; padding: 0 1rem; }
h1, h2 { font-weight: 600; } h2 { margin-top: 2.5rem; overflow-wrap: anywhere; }
h3 { font-size: 1rem; margin: 1.5rem 0 .3rem; }
table { border-collapse: collapse; } td { padding: .1rem 1.2rem .1rem 0; }
td:nth-child(2) { text-align: right; font-variant-numeric: tabular-nums; }
svg { width: 100%; height: auto; } svg text { font-size: 12px; fill: currentColor; }
.axis { stroke: currentColor; stroke-width: 1; opacity: .4; }
</style>
<h1>orva perf</h1>
)";

__attribute__((format(printf, 2, 3))) void append(std::string* text, const char* format, ...) {
    char piece[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(piece, sizeof piece, format, arguments);
    va_end(arguments);
    *text += piece;
}

double inMilliseconds(std::chrono::nanoseconds time) {
    return std::chrono::duration<double, std::milli>(time).count();
}

std::string escaped(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '&' ? "&amp;" : std::string(1, c);
    }
    return result;
}

// Bars of these heights side by side, over an axis with a text at its beginning, middle and end.
std::string bars(const std::vector<double>& heights, const std::array<std::string, 3>& axis,
                 const std::string& most) {
    std::string svg;
    append(&svg, "<svg viewBox=\"0 0 %g %g\" role=\"img\">\n", kWidth, kHeight + 40);
    const double highest = heights.empty() ? 0 : *std::max_element(heights.begin(), heights.end());
    const double step = kWidth / static_cast<double>(std::max<size_t>(heights.size(), 1));
    for (size_t i = 0; i < heights.size() && highest > 0; ++i) {
        const double height = kHeight * heights[i] / highest;
        append(&svg, "<rect x=\"%.2f\" y=\"%.2f\" width=\"%.2f\" height=\"%.2f\" fill=\"%s\"/>\n",
               step * static_cast<double>(i), 20 + kHeight - height, std::max(step - 1, step * 0.8),
               height, kColours[0]);
    }
    append(&svg, "<line class=\"axis\" x1=\"0\" y1=\"%g\" x2=\"%g\" y2=\"%g\"/>\n", 20 + kHeight,
           kWidth, 20 + kHeight);
    constexpr const char* kAnchors[] = {"start", "middle", "end"};
    for (size_t i = 0; i < axis.size(); ++i) {
        append(&svg, "<text x=\"%g\" y=\"%g\" text-anchor=\"%s\">%s</text>\n",
               kWidth * static_cast<double>(i) / 2, 36 + kHeight, kAnchors[i], axis[i].c_str());
    }
    append(&svg, "<text x=\"0\" y=\"12\">%s</text>\n</svg>\n", most.c_str());
    return svg;
}

std::string textOf(double number, const char* unit) {
    char text[64];
    snprintf(text, sizeof text, "%.4g %s", number, unit);
    return text;
}

// Each bar as much longer than the one before as that was, up to the 99.9th percentile: a few that
// take long would press the rest into one bar.
std::string latencyChart(const Histogram& latency) {
    using Nanoseconds = std::chrono::duration<double, std::nano>;
    const Nanoseconds from = std::max<Nanoseconds>(latency.least(), std::chrono::microseconds(1));
    const Nanoseconds to = std::max<Nanoseconds>(latency.percentile(0.999), from * 1.1);
    const auto edge = [&](double part) {
        return std::chrono::duration_cast<std::chrono::nanoseconds>(from *
                                                                    std::pow(to / from, part));
    };
    std::vector<double> counts;
    for (size_t i = 0; i < kBars; ++i) {
        const auto begin = static_cast<double>(i) / kBars, end = static_cast<double>(i + 1) / kBars;
        counts.push_back(static_cast<double>(latency.between(edge(begin), edge(end))));
    }
    const double highest = *std::max_element(counts.begin(), counts.end());
    return "<h3>Latency</h3>\n" +
           bars(counts,
                {textOf(inMilliseconds(edge(0)), "ms"), textOf(inMilliseconds(edge(0.5)), "ms"),
                 textOf(inMilliseconds(edge(1)), "ms (99.9th percentile)")},
                "up to " + textOf(highest, "requests a bar") + "; the axis is logarithmic");
}

std::string throughputChart(const LoadReport& report) {
    std::vector<double> rates;
    for (const LoadSecond& second : report.seconds) {
        rates.push_back(second.perSecond);
    }
    const double highest = rates.empty() ? 0 : *std::max_element(rates.begin(), rates.end());
    const double seconds = std::chrono::duration<double>(report.measured).count();
    return "<h3>Throughput over time</h3>\n" +
           bars(rates, {"0 s", textOf(seconds / 2, "s"), textOf(seconds, "s")},
                "up to " + textOf(highest, "requests/s"));
}

std::string partsChart(const LoadReport& report) {
    const std::vector<TimePart> parts = timeParts(report);
    double sum = 0;
    for (const TimePart& part : parts) {
        sum += std::max(part.milliseconds, 0.0);
    }
    std::string html = "<h3>Where the time went, in the mean</h3>\n";
    append(&html, "<svg viewBox=\"0 0 %g 30\" role=\"img\">\n", kWidth);
    std::string table = "<table>\n";
    double at = 0;
    for (size_t i = 0; i < parts.size() && sum > 0; ++i) {
        const double width = kWidth * std::max(parts[i].milliseconds, 0.0) / sum;
        append(&html, "<rect x=\"%.2f\" y=\"0\" width=\"%.2f\" height=\"30\" fill=\"%s\"/>\n", at,
               width, kColours[i % std::size(kColours)]);
        append(&table, "<tr><td><span style=\"color:%s\">&#9632;</span> %s: %s<td>%.4f ms</tr>\n",
               kColours[i % std::size(kColours)], parts[i].name.c_str(),
               parts[i].explanation.c_str(), parts[i].milliseconds);
        at += width;
    }
    return html + "</svg>\n" + table + "</table>\n";
}

std::string section(const PerfSubject& subject) {
    const LoadResult& result = subject.report.result;
    std::string html = "<h2>" + escaped(subject.name) + "</h2>\n<table>\n";
    const auto row = [&html](const char* name, const std::string& value) {
        html += std::string("<tr><td>") + name + "<td>" + value + "</tr>\n";
    };
    row("at a time", std::to_string(subject.concurrency));
    if (subject.plan.rate > 0) {
        row("wanted", textOf(subject.plan.rate, "requests/s"));
    }
    row("throughput", textOf(subject.report.throughput(), "requests/s"));
    row("requests", std::to_string(result.latency.count()));
    row("failed", std::to_string(result.failures));
    if (!result.firstFailure.empty()) {
        row("the first failure", escaped(result.firstFailure));
    }
    const Histogram& latency = result.latency;
    row("latency, least", textOf(inMilliseconds(latency.least()), "ms"));
    row("latency, mean", textOf(inMilliseconds(latency.mean()), "ms"));
    row("latency, median", textOf(inMilliseconds(latency.percentile(0.5)), "ms"));
    row("latency, 90th percentile", textOf(inMilliseconds(latency.percentile(0.9)), "ms"));
    row("latency, 99th percentile", textOf(inMilliseconds(latency.percentile(0.99)), "ms"));
    row("latency, greatest", textOf(inMilliseconds(latency.greatest()), "ms"));
    html += "</table>\n";
    if (latency.count() > 0) {
        html += latencyChart(latency) + throughputChart(subject.report) +
                partsChart(subject.report);
    }
    return html;
}

}  // namespace

std::string perfHtml(const std::vector<PerfSubject>& subjects) {
    std::string html = kHead;
    for (const PerfSubject& subject : subjects) {
        html += section(subject);
    }
    return html + "</html>\n";
}

}  // namespace orva::client
