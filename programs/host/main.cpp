/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "orva-host"

#include <csignal>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <vector>

#include <android/log.h>
#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <log/log.h>
#include <orva/reference/Settings.h>
#include <orva_platform/Runtime.h>
#include <orva_platform/SharedMemory.h>
#include <sys/resource.h>
#include <CLI/CLI.hpp>

#include "NodeLoader.h"
#include "ServiceLibrary.h"

namespace {

constexpr int kFailure = 1;
constexpr int kUsage = 2;

struct Options {
    std::string library = orva::host::ServiceLibrary::defaultPath();
    std::vector<std::string> nodes;
    std::string socketDir;
    std::string instance = "default";
    unsigned threads = 8;
    unsigned maxClients = 192;
    double idleTimeout = 600;
    double callbackTimeout = 30;
    int logLevel = ANDROID_LOG_WARN;
};

void addOptions(CLI::App* app, Options* options) {
    app->add_option("--library", options->library, "The server library to load")
            ->capture_default_str();
    app->add_option("--load", options->nodes,
                    "A shared object with node types of your own to offer; may be given again. Its "
                    "code becomes part of this process and may do all that the process may, with "
                    "every client's tensors too: load only what you trust")
            ->check(CLI::ExistingFile)
            ->allow_extra_args(false);
    app->add_option("--socket-dir", options->socketDir,
                    "Folder of the service sockets (default: $ORVA_SERVICE_DIR, then "
                    "$XDG_RUNTIME_DIR/orva, then /tmp/orva-UID)");
    app->add_option("--instance", options->instance, "Instance name to register under")
            ->capture_default_str();
    app->add_option("--threads", options->threads, "Calls served at once, at most")
            ->check(CLI::Range(1, 1024))
            ->capture_default_str();
    app->add_option("--max-clients", options->maxClients, "Clients admitted at once")
            ->check(CLI::PositiveNumber)
            ->capture_default_str();
    app->add_option("--idle-timeout", options->idleTimeout,
                    "Seconds without a request after which a client may be evicted for another")
            ->check(CLI::PositiveNumber)
            ->capture_default_str();
    app->add_option("--callback-timeout", options->callbackTimeout,
                    "Seconds that a client may take to answer a callback before it is cut off; "
                    "0 waits for ever")
            ->check(CLI::NonNegativeNumber)
            ->capture_default_str();
    app->add_option("--log-level", options->logLevel, "What to log, on stderr")
            ->transform(CLI::CheckedTransformer(std::map<std::string, int>{
                    {"verbose", ANDROID_LOG_VERBOSE},
                    {"info", ANDROID_LOG_INFO},
                    {"warn", ANDROID_LOG_WARN},
                    {"error", ANDROID_LOG_ERROR},
            }))
            ->default_str("warn");
    app->set_version_flag("--version", ORVA_VERSION);
}

// Each client costs a few descriptors, and each tensor of a request under way two more.
void raiseDescriptorLimit() {
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

template <typename Duration>
Duration seconds(double count) {
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(count));
}

void configure(const Options& options) {
    if (!options.socketDir.empty()) {
        orva_platform::setServiceDirectory(options.socketDir);
    }
    orva_platform::setReplyLimit(seconds<std::chrono::milliseconds>(options.callbackTimeout));
    orva::reference::SetClientLimit(options.maxClients);
    orva::reference::SetIdleTimeout(seconds<std::chrono::nanoseconds>(options.idleTimeout));
    android::hardware::configureRpcThreadpool(options.threads, true /* callerWillJoin */);
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

int serve(const Options& options) {
    for (const std::string& file : options.nodes) {
        orva::host::loadNodeLibrary(file);
    }
    const orva::host::ServiceLibrary library(options.library);
    const auto services = library.services();
    if (services.empty()) {
        fprintf(stderr, "orva-host: %s offers no service\n", options.library.c_str());
        return kFailure;
    }
    for (const auto& service : services) {
        const android::status_t status = android::hardware::details::registerAsServiceInternal(
                service.object, options.instance);
        if (status != android::OK) {
            fprintf(stderr, "orva-host: cannot register %s/%s in %s: %s\n", service.name.c_str(),
                    options.instance.c_str(), orva_platform::serviceDirectory().c_str(),
                    whyRefused(service.name, options.instance).c_str());
            orva_platform::stop();
            return kFailure;
        }
    }
    printf("orva-host: ready in %s\n", orva_platform::serviceDirectory().c_str());
    fflush(stdout);
    android::hardware::joinRpcThreadpool();
    // No new calls, then no clients, then no work: each waits for what the next would end.
    orva_platform::stop();
    orva::reference::Shutdown();
    printf("orva-host: stopped\n");
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    CLI::App app("Serves the orva AI services to this user's processes.", "orva-host");
    addOptions(&app, &options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : kUsage;
    }
    // A message below the level costs nothing: it is not even formatted.
    __android_log_set_minimum_priority(options.logLevel);
    raiseDescriptorLimit();
    orva_platform::surviveShrunkenRegions();
    std::signal(SIGPIPE, SIG_IGN);
    try {
        configure(options);
        // Only now is there a pool to stop.
        for (const int signal : {SIGTERM, SIGINT}) {
            std::signal(signal, [](int) { orva_platform::requestStop(); });
        }
        return serve(options);
    } catch (const std::exception& error) {
        fprintf(stderr, "orva-host: %s\n", error.what());
        return kFailure;
    }
}
