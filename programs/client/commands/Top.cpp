/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "client/commands/Commands.h"
#include "client/io/Interrupt.h"
#include "client/io/Terminal.h"
#include "client/lib/StateDump.h"
#include "client/report/HostState.h"
#include "client/report/Latency.h"
#include "describe/NumberRange.h"

namespace orva::client {

namespace {

struct Options {
    double interval = 1;
    size_t count = 0;  // 0: until Ctrl-C
};

// A pipe has lines of any length, and any number of them.
struct Screen {
    const bool is = terminalHeight().has_value();
    const size_t width = terminalWidth().value_or(200);
    // One line stays for the cursor.
    const size_t height = terminalHeight().value_or(SIZE_MAX) - 1;

    // Over the last one, on a terminal.
    void show(const std::string& others) const {
        const std::string text = printable(others, "\n");
        std::string shown = is ? "\033[H" : "";
        size_t lines = 0;
        for (size_t begin = 0; begin < text.size() && lines < height; ++lines) {
            const size_t end = text.find('\n', begin);
            shown += text.substr(begin, end - begin) + (is ? "\033[K\n" : "\n");
            begin = end + 1;
        }
        shown += is ? "\033[J" : "";
        fputs(shown.c_str(), stdout);
        fflush(stdout);
    }
};

std::vector<ServiceState> statesOf(const android::sp<AIService>& general,
                                   const android::sp<ModelManagerService>& managers) {
    return {serviceStateOf(stateOf(*general, {"--json"})),
            serviceStateOf(stateOf(*managers, {"--json"}))};
}

void top(const Connection& connection, const Options& options) {
    const auto general = connect<AIService>(connection, kAnswersSoon);
    const auto managers = connect<ModelManagerService>(connection, kAnswersSoon);
    takeInterrupt();
    std::vector<ServiceState> before = statesOf(general, managers);
    const std::chrono::milliseconds interval(static_cast<int64_t>(options.interval * 1000));
    Stopwatch watch;
    for (size_t shown = 0; options.count == 0 || shown < options.count; ++shown) {
        if (!sleepUnlessInterrupted(interval)) {
            return;
        }
        std::vector<ServiceState> now = statesOf(general, managers);
        follow(before, &now);
        const double seconds = std::chrono::duration<double>(watch.elapsed()).count();
        watch = Stopwatch();
        const Screen screen;
        if (shown == 0 && screen.is) {
            fputs("\033[2J", stdout);
        } else if (shown > 0 && !screen.is) {
            putchar('\n');
        }
        screen.show(watchText(before, now, seconds, screen.width));
        if (ferror(stdout) != 0) {
            return;  // Nobody watches any more.
        }
        before = std::move(now);
    }
}

}  // namespace

void addTop(CLI::App* app, const Connection* connection) {
    CLI::App* command = addCommand(app, "top", "Watch sessions, requests, memory and refusals",
                                   {"top", "top --interval 0.5", "top --count 1 | cat"});
    const auto options = std::make_shared<Options>();
    command->add_option("--interval", options->interval, "Seconds between two looks")
            ->check(describe::NumberRange(0.05, 3600.0))
            ->capture_default_str();
    command->add_option("--count", options->count, "Looks to take; 0: until Ctrl-C")
            ->check(CLI::Range(size_t{0}, size_t{1'000'000'000}))
            ->capture_default_str();
    command->callback([connection, options] { top(*connection, *options); });
}

}  // namespace orva::client
