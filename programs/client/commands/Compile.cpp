/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <chrono>
#include <cstdio>
#include <memory>
#include <vector>

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include "client/commands/Commands.h"
#include "client/io/File.h"
#include "client/io/Output.h"
#include "client/io/Terminal.h"
#include "client/lib/ManagerSession.h"
#include "client/model/ModelFile.h"
#include "client/report/Latency.h"
#include "client/report/Progress.h"

namespace orva::client {

namespace {

using std::chrono::nanoseconds;

struct Options {
    std::vector<std::string> sources;
    std::string output;
    uint32_t param = 0;
    bool json = false;
};

struct Report {
    size_t sourceBytes = 0;
    size_t outputBytes = 0;
    std::vector<std::string> names;  // of the models, in the sources' order
    nanoseconds reading{0};
    nanoseconds compiling{0};
    nanoseconds writing{0};
};

std::vector<Model> readSources(const std::vector<std::string>& paths, Report* report) {
    for (const std::string& path : paths) {
        report->sourceBytes += sizeOfFile(path);
    }
    if (report->sourceBytes > kMostBuildBytes) {
        throw std::runtime_error("the sources have " + std::to_string(report->sourceBytes) +
                                 " bytes; at most " + std::to_string(kMostBuildBytes) +
                                 " can be compiled into one");
    }
    const Stopwatch watch;
    Progress progress("reading bytes", report->sourceBytes);
    size_t done = 0;
    std::vector<Model> sources;
    sources.reserve(paths.size());
    for (const std::string& path : paths) {
        sources.push_back(readModel(path, [&](size_t bytes) { progress.update(done += bytes); }));
        if (isCompiled(sources.back())) {
            throw std::runtime_error(path + " is compiled already; compile what it was made of");
        }
    }
    report->reading = watch.elapsed();
    return sources;
}

// A build that fails does not say at what, so each source is asked about. Throws what is wrong with
// the first that cannot be run.
void blame(ModelManagerService& service, const std::vector<Model>& sources,
           const Options& options) {
    for (size_t i = 0; i < sources.size(); ++i) {
        if (const int32_t status = checkCompatibility(service, sources[i])) {
            throw std::runtime_error("cannot compile " + options.sources[i] + ": " +
                                     refusalText(sources[i], status, {&service, 0}));
        }
    }
}

size_t build(ModelManagerService& service, const std::vector<Model>& sources,
             const SharedRegion& output, const Options& options) {
    ManagerSession session(&service, 1, "", {});
    try {
        return withProgress("compiling",
                            [&] { return session.build(sources, output, options.param); });
    } catch (const ServiceError&) {
        blame(service, sources, options);
        throw;
    }
}

void print(const Report& report, const Options& options) {
    if (!options.json) {
        say("compiled %zu model%s of %s into %s of %s\n", options.sources.size(),
            options.sources.size() == 1 ? "" : "s", sizeText(report.sourceBytes).c_str(),
            options.output.c_str(), sizeText(report.outputBytes).c_str());
        say("read in %s, compiled in %s, written in %s\n", milliseconds(report.reading).c_str(),
            milliseconds(report.compiling).c_str(), milliseconds(report.writing).c_str());
        for (size_t i = 0; report.names.size() > 1 && i < report.names.size(); ++i) {
            say("  %s, of %s\n", report.names[i].c_str(), options.sources[i].c_str());
        }
        return;
    }
    const auto time = [](nanoseconds t) { return std::chrono::duration<double, std::milli>(t); };
    const nlohmann::json json = {{"sources", options.sources},
                                 {"source_bytes", report.sourceBytes},
                                 {"models", report.names},
                                 {"output", options.output},
                                 {"output_bytes", report.outputBytes},
                                 {"times",
                                  {{"reading", time(report.reading).count()},
                                   {"compiling", time(report.compiling).count()},
                                   {"writing", time(report.writing).count()},
                                   {"unit", "milliseconds"}}}};
    puts(json.dump(2, ' ', true, nlohmann::json::error_handler_t::replace).c_str());
}

void compile(const Connection& connection, const Options& options) {
    requireOutputFile(options.output, options.sources);
    Report report;
    const std::vector<Model> sources = readSources(options.sources, &report);
    const auto service = connect<ModelManagerService>(connection, kMayTakeLong);
    // Nobody knows how much it will be; what is not written to takes no memory.
    const SharedRegion output("orva compiled model", kMostBuildBytes);
    const Stopwatch compiling;
    report.outputBytes = build(*service, sources, output, options);
    report.compiling = compiling.elapsed();
    const Stopwatch writing;
    writeFile(options.output, output.data(), report.outputBytes);
    report.writing = writing.elapsed();
    report.names = compiledNames(output.data(), report.outputBytes);
    print(report, options);
}

}  // namespace

void addCompile(CLI::App* app, const Connection* connection) {
    CLI::App* command = addCommand(app, "compile", "Compile models into one file",
                                   {"compile a.onnx b.onnx -o both.orva"});
    const auto options = std::make_shared<Options>();
    command->add_option("FILE", options->sources, "The models (ONNX)")->required();
    command->add_option("-o,--output", options->output, "The compiled model's file")->required();
    command->add_option("--param", options->param, "A build parameter, for the model manager")
            ->capture_default_str();
    command->add_flag("--json", options->json, "Print JSON");
    command->callback([connection, options] { compile(*connection, *options); });
}

}  // namespace orva::client
