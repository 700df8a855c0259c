/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <thread>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/commands/Requests.h"
#include "client/commands/RunTensors.h"
#include "client/io/File.h"
#include "client/io/Interrupt.h"
#include "client/io/Output.h"
#include "client/io/Terminal.h"
#include "client/perf/PerfReport.h"
#include "client/perf/ServiceTimes.h"
#include "describe/NumberRange.h"

namespace orva::client {

namespace {

struct Options {
    std::vector<std::string> models;
    RunSources sources;
    std::string node = "onnx";
    RequestOptions request;
    size_t concurrency = 1;
    double rate = 0;
    double duration = 10;
    double warmup = 1;
    std::string report;
    bool json = false;
};

std::chrono::nanoseconds secondsOf(double count) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
            std::chrono::duration<double>(count));
}

// A session of its own with tensors of its own, which it is measured with.
struct Worker {
    Worker(const Connection& connection, const Options& options, const RunSources& sources,
           int32_t clientId, const RunTensors* others)
            : tensors(sources, options.request, others),
              requester(connection, options.request, options.node, sources.config().dump(),
                        tensors.models(), tensors.inputs(), tensors.outputs(), clientId),
              turn(static_cast<size_t>(clientId)) {
        tensors.dropModels();
    }

    RequestTiming request() {
        RequestTiming timing;
        if (tensors.requests() > 1) {
            timing.files = turn++ % tensors.requests();
            tensors.take(*timing.files);
        }
        const Stopwatch watch;
        requester.start();
        timing.call = watch.elapsed();
        const Completion completion = requester.finish();
        timing.total = watch.elapsed();
        timing.service = serviceTimes(completion.context);
        return timing;
    }

    RunTensors tensors;
    Requester requester;
    size_t turn;
};

// One model, or the node without any, with all that works on it.
struct Bench {
    PerfSubject subject;
    std::vector<std::unique_ptr<Worker>> workers;

    void run(const std::function<void(const LoadSecond&)>& eachSecond) {
        std::vector<std::function<RequestTiming()>> requests;
        for (const auto& worker : workers) {
            requests.emplace_back([&worker = *worker] { return worker.request(); });
        }
        subject.report = runLoad(subject.plan, requests, eachSecond, interrupted());
    }
};

Bench open(const Connection& connection, const Options& options, const std::string& model,
           int32_t* clientId) {
    RunSources sources = options.sources;
    sources.model = model;
    const LoadPlan plan = {options.rate, secondsOf(options.duration), secondsOf(options.warmup)};
    Bench bench;
    bench.subject.name = model.empty() ? "node " + options.node : model;
    bench.subject.concurrency = options.concurrency;
    bench.subject.plan = plan;
    for (size_t i = 0; i < options.concurrency && !interrupted(); ++i) {
        const RunTensors* const others = i == 0 ? nullptr : &bench.workers[0]->tensors;
        bench.workers.push_back(
                std::make_unique<Worker>(connection, options, sources, (*clientId)++, others));
        if (i == 0) {
            bench.workers[0]->tensors.keepFiles();
        }
    }
    for (size_t i = 0; !bench.workers.empty() && i < bench.workers[0]->tensors.requests(); ++i) {
        bench.subject.files.push_back(bench.workers[0]->tensors.files(i));
    }
    return bench;
}

// The first is shown as it goes; several at once would mix their lines.
void measure(std::vector<Bench>* benches, FILE* table) {
    const bool shown = benches->size() == 1;
    if (shown) {
        fputs(perfTableHead().c_str(), table);
        fflush(table);
    }
    std::vector<std::thread> others;
    for (size_t i = 1; i < benches->size(); ++i) {
        others.emplace_back([&bench = (*benches)[i]] { bench.run([](const LoadSecond&) {}); });
    }
    (*benches)[0].run([&](const LoadSecond& second) {
        if (shown) {
            fputs(perfTableLine(second).c_str(), table);
            fflush(table);
        }
    });
    for (std::thread& other : others) {
        other.join();
    }
}

void perf(const Connection& connection, const Options& options) {
    if (!options.report.empty()) {
        std::vector<std::string> inputs = options.sources.paths();
        inputs.insert(inputs.end(), options.models.begin(), options.models.end());
        requireOutputFile(options.report, inputs);
    }
    takeInterrupt();
    if (options.concurrency == 1 && options.models.size() <= 1) {
        serveWhileAwaiting();  // One thread awaits.
    }
    std::vector<Bench> benches;
    int32_t clientId = 1;
    for (const std::string& model :
         options.models.empty() ? std::vector<std::string>{""} : options.models) {
        benches.push_back(open(connection, options, model, &clientId));
    }
    measure(&benches, options.json ? stderr : stdout);

    std::vector<PerfSubject> subjects;
    nlohmann::json all = nlohmann::json::array();
    std::string failure;
    for (const Bench& bench : benches) {
        subjects.push_back(bench.subject);
        all.push_back(perfJson(bench.subject));
        if (!options.json) {
            say("\n%s", perfText(bench.subject).c_str());
        }
        const LoadResult& result = bench.subject.report.result;
        if (result.failures > 0 && failure.empty()) {
            failure = bench.subject.name + ": " + std::to_string(result.failures) +
                      " requests failed, the first with: " + result.firstFailure;
        }
    }
    if (options.json) {
        puts(all.dump(2, ' ', true, nlohmann::json::error_handler_t::replace).c_str());
    }
    if (!options.report.empty()) {
        const std::string html = perfHtml(subjects);
        writeFile(options.report, reinterpret_cast<const uint8_t*>(html.data()), html.size());
        if (!options.json) {
            printf("\nreport in %s\n", options.report.c_str());
        }
    }
    if (!failure.empty()) {
        throw std::runtime_error(failure);
    }
}

}  // namespace

void addPerf(CLI::App* app, const Connection* connection) {
    CLI::App* command = addCommand(app, "perf", "Measure latency and throughput under load",
                                   {"perf --model m.onnx --concurrency 4 --report report.html",
                                    "perf --model a.onnx --model b.onnx --rate 100 --duration 30",
                                    "perf --model m.onnx --image photos/ --scale 0.00392",
                                    "perf --node echo --bytes 150528 --json"});
    const auto options = std::make_shared<Options>();
    RunSources& sources = options->sources;
    command->add_option("--model", options->models,
                        "The model; several are measured at the same time");
    addSourceOptions(command, &sources);
    command->add_option("--bytes", sources.madeUpBytes,
                        "Without --model and --input: the size of the one input")
            ->check(CLI::Range(size_t{1}, kMostTensorBytes))
            ->capture_default_str();
    addServiceOptions(command, &options->request);
    CLI::Option* node =
            command->add_option("--node", options->node, "Type of the service node that runs it")
                    ->capture_default_str();
    command->add_option("--concurrency", options->concurrency,
                        "Requests at a time for each model, each in a session of its own")
            ->check(CLI::Range(1, 1024))
            ->capture_default_str();
    command->add_option("--rate", options->rate,
                        "Requests a second for each model, each sent when it is due, from when on "
                        "its latency counts (default: the next when the last is done)")
            ->check(describe::NumberRange(0.001, 1e6));
    command->add_option("--duration", options->duration, "Seconds to measure for")
            ->check(describe::NumberRange(0.01, 1e6))
            ->capture_default_str();
    command->add_option("--warmup", options->warmup, "Seconds before that, which do not count")
            ->check(describe::NumberRange(0.0, 1e6))
            ->capture_default_str();
    command->add_option("--report", options->report, "Write a report with charts (HTML) there");
    command->add_flag("--json", options->json, "Print a JSON array; the table goes to stderr");
    command->callback([connection, options, node] {
        checkRequestOptions(options->request);
        if (options->models.empty() && (options->request.modelManager || node->count() == 0)) {
            throw CLI::RequiredError("--model, or a --node that needs none");
        }
        if (options->request.modelManager && node->count() != 0) {
            throw CLI::ValidationError("--node",
                                       "is for the general service; a model manager has none");
        }
        RunSources sources = options->sources;
        sources.model = options->models.empty() ? "" : options->models.front();
        checkSourceOptions(sources);
        perf(*connection, *options);
    });
}

}  // namespace orva::client
