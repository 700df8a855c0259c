/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "orva-host"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <android/log.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <hwbinder/IPCThreadState.h>
#include <log/log.h>
#include <malloc.h>
#include <orva/reference/Settings.h>
#include <orva_platform/Runtime.h>
#include <orva_platform/SharedMemory.h>
#include <sys/stat.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include "LatestErrors.h"
#include "LogWriter.h"
#include "NodeLoader.h"
#include "Options.h"
#include "ServiceLibrary.h"
#include "describe/Describe.h"
#include "trace/CallTrace.h"

namespace {

using orva::host::LatestErrors;
using orva::host::LogWriter;
using orva::host::OfferedService;
using orva::host::Options;

constexpr int kFailure = 1;
constexpr int kUsage = 2;
constexpr char kFrameworkTag[] = "ORVA";
// For what is under way at the end: for calls, and then for requests.
constexpr std::chrono::seconds kEndPatience{5};

// Never destroyed: there are lines while the process exits, too.
LogWriter* gLog = nullptr;
LatestErrors* gErrors = nullptr;

pid_t clientOfThisThread() {
    const pid_t calling = android::hardware::IPCThreadState::self()->getCallingPid();
    return calling != getpid() ? calling : orva::reference::WorkingFor();
}

void installLog(const Options& options) {
    // A message below the level costs nothing: it is not even formatted.
    __android_log_set_minimum_priority(options.logLevel);
    gLog = new LogWriter(STDERR_FILENO, options.logLimit);
    gErrors = new LatestErrors;
    __android_log_set_logger([](const __android_logger_data* line, const char* message) {
        const pid_t client = clientOfThisThread();
        gLog->write(client, line->priority, line->tag, message);
        if (client != 0 && line->priority >= ANDROID_LOG_ERROR && line->tag != nullptr &&
            std::strcmp(line->tag, kFrameworkTag) == 0) {
            gErrors->note(client, orva::host::escaped(message));
        }
    });
}

// Registering does not say why it failed; that somebody serves the name can be seen.
std::string whyRefused(const std::string& service, const std::string& instance) {
    for (const auto& entry : orva_platform::listServices()) {
        if (entry.instance == instance &&
            entry.interface.substr(entry.interface.rfind(':') + 1) == service) {
            return "process " + std::to_string(entry.pid) + " serves it already";
        }
    }
    return "see the log";
}

int registerAll(const std::vector<OfferedService>& services, const Options& options) {
    for (const auto& service : services) {
        const android::status_t status = android::hardware::details::registerAsServiceInternal(
                service.object, options.instance);
        if (status != android::OK) {
            fprintf(stderr, "orva-host: cannot register %s/%s in %s: %s\n", service.name.c_str(),
                    options.instance.c_str(), orva_platform::serviceDirectory().c_str(),
                    whyRefused(service.name, options.instance).c_str());
            return kFailure;
        }
    }
    return 0;
}

// For `orva trace`. A host serves without it as well.
std::unique_ptr<orva::host::CallTrace> offerTrace() {
    try {
        return std::make_unique<orva::host::CallTrace>(orva_platform::serviceDirectory(), *gErrors);
    } catch (const std::system_error& error) {
        ALOGW("calls cannot be traced: %s", error.what());
        return nullptr;
    }
}

void onEndSignals(void (*act)(int)) {
    for (const int signal : {SIGTERM, SIGINT}) {
        std::signal(signal, act);
    }
}

int serve(const Options& options) {
    // The C library sets its allocator up at the first call, unlocked. Where a sanitizer's stands
    // in its place, that would be a call below, on several threads at once: a crash, now and then.
    malloc_trim(0);
    for (const std::string& file : options.nodes) {
        orva::host::loadNodeLibrary(file);
    }
    const orva::host::ServiceLibrary library(options.library);
    const auto services = library.services();
    if (services.empty()) {
        fprintf(stderr, "orva-host: %s offers no service\n", options.library.c_str());
        return kFailure;
    }
    // What a process leaves behind that had no listener by whose death it would be heard of, the
    // services find when they are asked anything.
    orva_platform::onPeerGone([services](pid_t pid) {
        for (const auto& service : services) {
            service.object->ping().isOk();
        }
        gLog->forget(pid);
        gErrors->forget(pid);
        // What its models took stays in the allocator otherwise: after eight checks of a model of
        // 4 MiB matrices the process kept 91 MB, and 36 once this and the services' cleaning up
        // had come.
        malloc_trim(0);
    });
    // Not on the first client's time.
    orva::reference::PrepareEngine();
    const int registered = registerAll(services, options);
    // As long as there may be calls.
    const auto trace = registered == 0 ? offerTrace() : nullptr;
    if (registered == 0) {
        printf("orva-host: ready in %s\n", orva_platform::serviceDirectory().c_str());
        fflush(stdout);
        // This thread serves nothing, so it hears of a signal whatever calls take.
        android::hardware::joinRpcThreadpool();
    }
    // Another signal does not wait for what follows.
    onEndSignals(SIG_DFL);
    // No new calls, then no clients, then no work: each waits for what the next would end. Nobody
    // would hear of work that is under way.
    orva::reference::CancelWork();
    const bool ended = orva_platform::stop(kEndPatience) && orva::reference::Shutdown(kEndPatience);
    if (registered == 0) {
        printf("orva-host: stopped%s\n", ended ? "" : ", with work under way that does not end");
    }
    if (!ended) {
        fflush(stdout);
        _exit(registered);  // What it uses stays as long as the process.
    }
    return registered;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Serves the orva AI services to this user's processes.", "orva-host");
    orva::host::addOptions(&app, &options);
    orva::describe::addDescribe(&app, ORVA_VERSION,
                                {"--library", "--engine-memory", "--client-engine-memory"});
    app.set_version_flag("--version", ORVA_VERSION);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsage;
    }
    std::signal(SIGPIPE, SIG_IGN);
    umask(S_IRWXG | S_IRWXO);
    installLog(options);
    orva_platform::surviveShrunkenRegions();
    try {
        orva::host::configure(options);
        // Only now is there a pool to stop.
        onEndSignals([](int) { orva_platform::requestStop(); });
        return serve(options);
    } catch (const std::exception& error) {
        fprintf(stderr, "orva-host: %s\n", error.what());
        return kFailure;
    }
}
