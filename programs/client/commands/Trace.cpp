/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <memory>
#include <set>
#include <stdexcept>

#include <unistd.h>
#include <CLI/CLI.hpp>

#include "client/commands/Commands.h"
#include "client/io/Interrupt.h"
#include "client/io/Output.h"
#include "client/io/Terminal.h"
#include "client/report/Latency.h"
#include "client/trace/ChromeTrace.h"
#include "client/trace/TraceSource.h"
#include "client/trace/TraceText.h"
#include "describe/NumberRange.h"

namespace orva::client {

namespace {

// How soon a look is taken at what does not end, and how long that may take before it is shown.
constexpr std::chrono::milliseconds kPause{200};
constexpr std::chrono::seconds kLong{1};

struct Options {
    std::vector<pid_t> clients;
    bool json = false;
    bool summary = false;
    std::string output;
    double duration = 0;  // Unit: seconds; 0: until Ctrl-C.
    size_t count = 0;     // Of calls and callbacks; 0: until Ctrl-C.
};

TracedCall::Time now() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

// What becomes of the calls.
class Trace {
public:
    explicit Trace(const Options& options)
            : options_(options),
              shown_(!options.summary && options.output.empty()),
              width_(terminalWidth().value_or(SIZE_MAX)) {
        if (!options.output.empty()) {
            chrome_ = std::make_unique<ChromeTrace>(options.output);
        }
    }

    void take(const std::string& line) {
        const uint64_t lostBefore = calls_.lost();
        if (const auto call = calls_.take(line)) {
            add(*call);
        }
        const uint64_t lost = calls_.lost() - lostBefore;
        if (lost != 0 && chrome_ != nullptr) {
            chrome_->addLost(lost, now());
        }
    }

    // Shows what does not end, once.
    void lookForLong() {
        for (const auto& [id, call] : calls_.open()) {
            if (shown_ && !options_.json && now() - call.begin > kLong && long_.insert(id).second) {
                printf("%s\n", callText(call, start_, width_).c_str());
            }
        }
        fflush(stdout);
    }

    bool isOver() const {
        return interrupted() || ferror(stdout) != 0 ||
               (options_.count != 0 && seen_ >= options_.count) ||
               (options_.duration != 0 &&
                now() - start_ > std::chrono::duration<double>(options_.duration));
    }

    void finish() {
        if (chrome_ != nullptr) {
            for (const auto& [id, call] : calls_.open()) {
                chrome_->add(call, now());
            }
            chrome_->close();
        }
        if (options_.json && options_.summary) {
            puts(summary_.json().dump(2).c_str());
        } else if (options_.summary || (!options_.json && !shown_)) {
            fputs(summary_.text().c_str(), stdout);
        }
        if (calls_.lost() != 0) {
            fprintf(stderr, "orva: %llu lines came too fast and are lost\n",
                    static_cast<unsigned long long>(calls_.lost()));
        }
        if (chrome_ != nullptr) {
            fprintf(stderr, "orva: the trace is in %s; https://ui.perfetto.dev shows it\n",
                    options_.output.c_str());
        }
    }

    const TracedCalls& calls() const { return calls_; }

private:
    void add(const TracedCall& call) {
        ++seen_;
        long_.erase(call.id);
        summary_.add(call);
        if (chrome_ != nullptr) {
            chrome_->add(call, now());
        }
        if (options_.json && !options_.summary) {
            puts(callJson(call, start_)
                         .dump(-1, ' ', true, nlohmann::ordered_json::error_handler_t::replace)
                         .c_str());
        } else if (shown_) {
            printf("%s\n", callText(call, start_, width_).c_str());
        }
    }

    const Options& options_;
    const bool shown_;
    const size_t width_;
    const TracedCall::Time start_ = now();
    TracedCalls calls_;
    TraceSummary summary_;
    std::unique_ptr<ChromeTrace> chrome_;
    std::set<uint64_t> long_;
    size_t seen_ = 0;
};

void trace(const Connection& connection, const Options& options) {
    limitTime(connection, kAnswersSoon);
    if (!options.output.empty()) {
        requireOutputFile(options.output, {});
    }
    const pid_t host = findHost(connection.instance);
    TraceSource source(host, options.clients);
    takeInterrupt();
    Trace trace(options);
    while (trace.calls().host() == 0) {
        trace.take(source.first());
    }
    fprintf(stderr, "orva: tracing %d; Ctrl-C ends it\n", host);
    while (!trace.isOver()) {
        if (const auto line = source.next(kPause)) {
            trace.take(*line);
        } else if (source.hasEnded()) {
            fprintf(stderr, "orva: process %d has ended\n", host);
            break;
        } else {
            trace.lookForLong();
        }
    }
    trace.finish();
}

}  // namespace

void addTrace(CLI::App* app, const Connection* connection) {
    CLI::App* command =
            addCommand(app, "trace", "Watch calls and callbacks as they happen, decoded",
                       {"trace", "trace --client 4711 --json | jq .method",
                        "trace --summary --duration 10", "trace --output trace.json"});
    const auto options = std::make_shared<Options>();
    command->add_option("--client", options->clients,
                        "Only this client, by its process id; may be given again")
            ->check(CLI::PositiveNumber)
            ->allow_extra_args(false);
    command->add_flag("--json", options->json, "Print each as a JSON object on one line");
    command->add_flag("--summary", options->summary,
                      "Print only how often each method was called, and how long it took");
    command->add_option("--output", options->output,
                        "Write a time line there, in Chrome's trace format, for "
                        "https://ui.perfetto.dev; and print the summary");
    command->add_option("--duration", options->duration, "Seconds to watch for; 0: until Ctrl-C")
            ->check(describe::NumberRange(0.0, 1e6))
            ->capture_default_str();
    command->add_option("--count", options->count, "Calls and callbacks to watch; 0: until Ctrl-C")
            ->check(CLI::Range(size_t{0}, size_t{1'000'000'000}))
            ->capture_default_str();
    command->callback([connection, options] { trace(*connection, *options); });
}

}  // namespace orva::client
