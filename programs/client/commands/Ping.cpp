/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>

#include <CLI/CLI.hpp>

#include "client/commands/Commands.h"
#include "client/io/Terminal.h"
#include "client/lib/Session.h"
#include "client/report/Latency.h"

namespace orva::client {

namespace {

void ping(const Connection& connection) {
    const auto service = connect<AIService>(connection, kAnswersSoon);
    const Stopwatch watch;
    answerTo("ping", [&] { return service->ping(); });
    say("the service answers in %s\n", milliseconds(watch.elapsed()).c_str());
}

}  // namespace

void addPing(CLI::App* app, const Connection* connection) {
    addCommand(app, "ping", "See whether the service answers", {"ping", "ping --timeout 1"})
            ->callback([connection] { ping(*connection); });
}

}  // namespace orva::client
