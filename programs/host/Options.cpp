/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Options.h"

#include <chrono>
#include <map>

#include <hidl/HidlTransportSupport.h>
#include <hwbinder/IPCThreadState.h>
#include <orva/reference/Settings.h>
#include <orva_platform/Runtime.h>
#include <sys/resource.h>
#include <unistd.h>

#include "describe/NumberRange.h"

namespace orva::host {

using describe::NumberRange;

namespace {

constexpr size_t kMiB = size_t{1} << 20;
constexpr char kFolder[] = "Where it serves";
constexpr char kAll[] = "All clients together";
constexpr char kEach[] = "Each client process, in the framework; 0 is without a bound";
constexpr char kLink[] = "Each client process, as it calls and is called";
constexpr char kLog[] = "Log, on stderr";

// In MiB.
size_t machineMemory() {
    return static_cast<size_t>(sysconf(_SC_PHYS_PAGES)) *
           static_cast<size_t>(sysconf(_SC_PAGESIZE)) / kMiB;
}

template <typename Value>
CLI::Option* add(CLI::App* app, const char* group, const char* name, Value* value,
                 const char* description) {
    return app->add_option(name, *value, description)
            ->capture_default_str()
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
            ->group(group);
}

template <typename Duration>
Duration seconds(double count) {
    return std::chrono::duration_cast<Duration>(std::chrono::duration<double>(count));
}

// The process whose call this thread serves. A call of the program's own has none.
pid_t callingProcess() {
    const pid_t pid = android::hardware::IPCThreadState::self()->getCallingPid();
    return pid != getpid() ? pid : 0;
}

// Each client costs a few descriptors, and each tensor of a request under way two more.
void raiseDescriptorLimit() {
    rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

}  // namespace

void addOptions(CLI::App* app, Options* options) {
    options->engineMemory = machineMemory() / 2;
    options->clientEngineMemory = machineMemory() / 4;
    const auto timeLimit = NumberRange(0.0, 1e6);
    const size_t most = 1'000'000'000;
    const auto count = NumberRange(size_t{0}, most).description("");

    add(app, kFolder, "--library", &options->library, "The server library to load");
    app->add_option("--load", options->nodes,
                    "A shared object with node types of your own to offer; may be given again. Its "
                    "code becomes part of this process and may do all that the process may, with "
                    "every client's tensors too: load only what you trust")
            ->check(CLI::ExistingFile)
            ->allow_extra_args(false)
            ->group(kFolder);
    add(app, kFolder, "--socket-dir", &options->socketDir,
        "Folder of the service sockets (default: $ORVA_SERVICE_DIR, then $XDG_RUNTIME_DIR/orva, "
        "then /tmp/orva-UID)");
    add(app, kFolder, "--instance", &options->instance, "Instance name to register under");

    add(app, kAll, "--threads", &options->threads, "Calls served at once, at most")
            ->check(CLI::Range(1, 1024));
    add(app, kAll, "--stand-ins", &options->standIns,
        "Threads that may stand in for blocked ones while calls wait")
            ->check(CLI::Range(0, 1024));
    add(app, kAll, "--max-clients", &options->maxClients, "Clients admitted at once")
            ->check(NumberRange(size_t{1}, most));
    add(app, kAll, "--idle-timeout", &options->idleTimeout,
        "Seconds without a request after which a client may be evicted for another; one whose "
        "process has ended may be at once")
            ->check(NumberRange(0.001, 1e6));
    add(app, kAll, "--callback-timeout", &options->callbackTimeout,
        "Seconds that a client may take to answer a callback before it is cut off; 0 waits for "
        "ever")
            ->check(timeLimit);
    add(app, kAll, "--load-timeout", &options->loadTimeout,
        "Seconds that the check or the loading of a model may take; 0 waits for ever")
            ->check(timeLimit);
    add(app, kAll, "--run-timeout", &options->runTimeout,
        "Seconds that a request may take once it runs; 0 waits for ever")
            ->check(timeLimit);
    add(app, kAll, "--engine-memory", &options->engineMemory,
        "MiB that the engine may take; 0 is without a bound")
            ->check(count);

    add(app, kLink, "--client-connections", &options->peer.connections, "Connections")
            ->check(count);
    add(app, kLink, "--client-channels", &options->peer.channels,
        "Calls that are served, waiting or half sent")
            ->check(count);
    add(app, kLink, "--client-calls", &options->peer.calls,
        "Calls served at once; further ones wait; 0 is three quarters of the threads")
            ->check(count);
    add(app, kLink, "--client-callbacks", &options->peer.callbacks,
        "Callbacks to it at once; further ones wait")
            ->check(count);
    add(app, kLink, "--client-objects", &options->peer.objects, "Listeners and the like of its own")
            ->check(count);
    add(app, kLink, "--client-descriptors", &options->peer.descriptors,
        "Descriptors in its calls under way")
            ->check(count);
    add(app, kEach, "--client-sessions", &options->clientSessions, "Sessions, of both services")
            ->check(count);
    add(app, kEach, "--client-listeners", &options->clientListeners,
        "Listeners and the like without a session that count as clients")
            ->check(count);
    add(app, kEach, "--client-requests", &options->clientRequests,
        "Requests that it has not heard of yet")
            ->check(count);
    add(app, kEach, "--client-tensors", &options->clientTensors,
        "Tensors of those, and bound to models")
            ->check(count);
    add(app, kEach, "--client-threads", &options->clientThreads,
        "Threads that run its requests or wait for it to take their results")
            ->check(count);
    add(app, kEach, "--client-engine-memory", &options->clientEngineMemory,
        "MiB that the engine may take for it")
            ->check(count);

    app->add_option("--log-level", options->logLevel, "What to log")
            ->transform(CLI::CheckedTransformer(std::map<std::string, int>{
                    {"verbose", ANDROID_LOG_VERBOSE},
                    {"info", ANDROID_LOG_INFO},
                    {"warn", ANDROID_LOG_WARN},
                    {"error", ANDROID_LOG_ERROR},
            }))
            ->default_str("warn")
            ->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)
            ->group(kLog);
    add(app, kLog, "--log-limit", &options->logLimit,
        "Lines a minute that each client process may cause; 0 is without a bound")
            ->check(count);
}

void configure(const Options& options) {
    raiseDescriptorLimit();
    if (!options.socketDir.empty()) {
        orva_platform::setServiceDirectory(options.socketDir);
    }
    orva_platform::setPeerLimits(options.peer);
    orva_platform::setStandIns(options.standIns);
    orva_platform::setReplyLimit(seconds<std::chrono::milliseconds>(options.callbackTimeout));

    using namespace orva::reference;
    using std::chrono::nanoseconds;
    UseClientIdentity(callingProcess);
    // The model manager service calls a client under a lock that its other clients need.
    UseDeliveryHooks({orva_platform::deferAnswer, orva_platform::awaitAnswer});
    SetClientLimit(options.maxClients);
    SetIdleTimeout(seconds<nanoseconds>(options.idleTimeout));
    SetLoadTimeout(seconds<nanoseconds>(options.loadTimeout));
    SetRunTimeout(seconds<nanoseconds>(options.runTimeout));
    SetEngineMemory(options.clientEngineMemory * kMiB, options.engineMemory * kMiB);
    SetClientSessions(options.clientSessions);
    SetClientsWithoutSession(options.clientListeners);
    SetClientRequests(options.clientRequests);
    SetClientTensors(options.clientTensors);
    SetClientThreads(options.clientThreads);

    android::hardware::configureRpcThreadpool(options.threads, true /* callerWillJoin */);
}

}  // namespace orva::host
