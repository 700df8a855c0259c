/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <map>
#include <string>

#include <CLI/CLI.hpp>

#include "Payload.h"
#include "driver/Report.h"
#include "driver/RequestBench.h"
#include "inference/InferenceBench.h"
#include "sessions/SessionBench.h"

namespace {

using namespace orva_bench;

// A folder of this run for its sockets.
class Folder {
public:
    Folder() {
        if (mkdtemp(path_) == nullptr) {
            throw std::system_error(errno, std::generic_category(), "mkdtemp");
        }
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string path() const { return path_; }

private:
    char path_[32] = "/tmp/orva-bench-XXXXXX";
};

int lastAllowedCore() {
    cpu_set_t cores;
    CPU_ZERO(&cores);
    sched_getaffinity(0, sizeof cores, &cores);
    int core = CPU_SETSIZE - 1;
    while (core > 0 && !CPU_ISSET(core, &cores)) {
        --core;
    }
    return core;
}

std::map<std::string, Work> works() {
    return {{"request", Work::kRequest},
            {"manager-request", Work::kManagerRequest},
            {"binding", Work::kBinding},
            {"session", Work::kSession},
            {"build", Work::kBuild}};
}

int benchRequests(const RequestSettings& settings, bool json) {
    Report report(settings, json);
    report.begin();
    runRequestBench(settings, [&](const RequestRow& row) { report.add(row); });
    report.end();
    return 0;
}

int benchSessions(const SessionSettings& settings, bool json) {
    const SessionResult result = runSessionBench(settings);
    reportSessions(settings, result, json);
    return result.nothingLeft() ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app(
            "Measures what a request through the services costs, beside a floor: a bare pair "
            "of programs that makes only the system calls that a request cannot do without.");
    RequestSettings settings = {{lastAllowedCore(), false}, 101, 200, ""};
    bool quick = false;
    bool json = false;
    std::string alone;
    Load load = {kPictureSize, 1};
    app.add_option("--core", settings.placement.core, "The core that every process runs on");
    app.add_flag("--realtime", settings.placement.realtime,
                 "Runs ahead of all else on that core, where other work would disturb the figures; "
                 "for root");
    app.add_option("--rounds", settings.rounds, "Rounds of which the median counts")
            ->check(CLI::Range(1, 1000))
            ->capture_default_str();
    app.add_option("--requests", settings.requests, "Requests in a round, of all clients together")
            ->check(CLI::Range(1, 10'000'000))
            ->capture_default_str();
    app.add_flag("--quick", quick, "As little as shows that it runs");
    app.add_flag("--json", json, "Prints one JSON document");
    auto* const only =
            app.add_option("--only", alone, "Runs one row alone, or one contestant for profilers")
                    ->check(CLI::IsMember({"both", "floor", "services"}));
    app.add_option("--input-bytes", load.inputSize, "The input of --only, or its model")
            ->needs(only);
    app.add_flag_callback(
               "--ion", [&load] { load.memory = TensorMemory::kIon; },
               "The tensors of --only lie in ION buffers")
            ->needs(only);
    app.add_option("--work", load.work, "What the clients of --only do")
            ->transform(CLI::CheckedTransformer(works()))
            ->needs(only);
    app.add_option("--sessions", load.clients, "The clients of --only")
            ->check(CLI::Range(1, 1000))
            ->needs(only);

    SessionSettings sessions = {1000, 10, 1000, 200, ""};
    auto* const sessionBench = app.add_subcommand(
            "sessions",
            "Measures what idle sessions cost the host, and checks that it is left as "
            "it was when sessions end and when clients die.");
    sessionBench->fallthrough();
    sessionBench->add_option("--idle", sessions.idleSessions, "Idle sessions")
            ->check(CLI::Range(1, 8000))
            ->capture_default_str();
    sessionBench->add_option("--clients", sessions.idleClients, "Processes that hold them")
            ->check(CLI::Range(1, 1000))
            ->capture_default_str();
    sessionBench->add_option("--cycles", sessions.cycles, "Sessions to open, use and close")
            ->capture_default_str();
    sessionBench->add_option("--kills", sessions.kills, "Clients to kill amid their requests")
            ->capture_default_str();
    InferenceSettings inference = {"", 31, 200, 48, ""};
    auto* const inferenceBench = app.add_subcommand(
            "inference",
            "Measures requests through the services beside the engine called directly.");
    inferenceBench->fallthrough();
    inferenceBench
            ->add_option("--model", inference.model,
                         "An ONNX model of floats, with no dimension left open")
            ->required()
            ->check(CLI::ExistingFile);
    inferenceBench->add_option("--each", inference.requests, "Requests in a round, of each client")
            ->check(CLI::Range(1, 100'000))
            ->capture_default_str();
    inferenceBench->add_option("--turns", inference.rounds, "Rounds of which the median counts")
            ->check(CLI::Range(1, 1000))
            ->capture_default_str();
    inferenceBench
            ->add_option("--products", inference.products,
                         "Products of matrices that the long model is made of; 0 leaves it out")
            ->check(CLI::Range(0, 10'000))
            ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    if (quick) {
        settings.rounds = 1;
        settings.requests = 1;
        sessions = {20, 2, 10, 4, ""};
        inference.rounds = inference.requests = 1;
        inference.products = 1;
    }
    try {
        const Folder folder;
        settings.folder = sessions.folder = inference.folder = folder.path();
        if (*inferenceBench) {
            InferenceReport report(json);
            report.begin();
            runInferenceBench(inference, [&](const InferenceRow& row) { report.add(row); });
            report.end();
            return 0;
        }
        if (*only) {
            load.callbacks = usualCallbacks(load.work);
            if (alone == "both") {
                Report report(settings, json);
                report.begin();
                report.add(runPair(settings, load));
                return 0;
            }
            printf("%.1f us\n", runAlone(settings, alone == "floor", load));
            return 0;
        }
        return *sessionBench ? benchSessions(sessions, json) : benchRequests(settings, json);
    } catch (const std::exception& error) {
        fprintf(stderr, "orva-bench: %s\n", error.what());
        return 1;
    }
}
