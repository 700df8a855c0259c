/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "CallTrace.h"

#include <atomic>
#include <chrono>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <hwbinder/IPCThreadState.h>
#include <orva/reference/NodeRegistry.h>
#include <orva/reference/RequestTimes.h>
#include <orva/reference/Settings.h>
#include <orva_platform/CallObserver.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "CallDecoder.h"

namespace orva::host {

namespace {

using android::hardware::details::HidlInstrumentor;
using nlohmann::ordered_json;

// One that is under way on a thread.
struct OpenCall {
    uint64_t id = 0;  // 0: nobody watches its client.
    pid_t client = 0;
    bool isCallback = false;
    std::string method;
};

// The innermost last.
thread_local std::vector<OpenCall> gOpen;
std::atomic<uint64_t> gLastId{0};

int64_t now() {
    return std::chrono::steady_clock::now().time_since_epoch().count();
}

pid_t thisThread() {
    thread_local const auto kThread = static_cast<pid_t>(syscall(SYS_gettid));
    return kThread;
}

std::string textOf(const ordered_json& line) {
    return line.dump(-1, ' ', true, ordered_json::error_handler_t::replace);
}

void publish(TraceServer* server, pid_t client, const ordered_json& line) {
    server->publish(client, textOf(line));
}

void end(TraceServer* server, const ordered_json& more) {
    const OpenCall call = gOpen.back();
    gOpen.pop_back();
    if (call.id != 0) {
        ordered_json line = {{"event", "end"}, {"id", call.id}, {"at", now()}};
        line.update(more);
        publish(server, call.client, line);
    }
}

// A callback that failed has no end of its own; it is over when the thread does what it could not
// do within one.
void endFailedCallbacks(TraceServer* server) {
    while (!gOpen.empty() && gOpen.back().isCallback) {
        end(server, {{"failed", true}});
    }
}

void begin(TraceServer* server, bool isCallback, const char* interface, const char* method,
           const std::vector<void*>& arguments) {
    if (isCallback) {
        endFailedCallbacks(server);
    }
    OpenCall call;
    const pid_t calling = android::hardware::IPCThreadState::self()->getCallingPid();
    call.client = calling != getpid() ? calling : reference::WorkingFor();
    call.isCallback = isCallback;
    call.method = method;
    if (server->isWanted(call.client)) {
        call.id = ++gLastId;
        publish(server, call.client,
                {{"event", "begin"},
                 {"id", call.id},
                 {"at", now()},
                 {"thread", thisThread()},
                 {"client", call.client},
                 {"kind", isCallback ? "callback" : "call"},
                 {"interface", interface},
                 {"method", method},
                 {"arguments", argumentsOf(interface, method, arguments)}});
    }
    gOpen.push_back(std::move(call));
}

void finish(TraceServer* server, bool isCallback, const char* interface, const char* method,
            const std::vector<void*>& results) {
    if (!isCallback) {
        endFailedCallbacks(server);
    }
    // The beginning may have been before anybody watched.
    if (!gOpen.empty() && gOpen.back().isCallback == isCallback && gOpen.back().method == method) {
        end(server, {{"results", resultsOf(interface, method, results)}});
    }
}

void observe(TraceServer* server, HidlInstrumentor::InstrumentationEvent event,
             const char* interface, const char* method, const std::vector<void*>& pointers) {
    switch (event) {
    case HidlInstrumentor::SERVER_API_ENTRY:
        return begin(server, false, interface, method, pointers);
    case HidlInstrumentor::SERVER_API_EXIT:
        return finish(server, false, interface, method, pointers);
    case HidlInstrumentor::CLIENT_API_ENTRY:
        return begin(server, true, interface, method, pointers);
    case HidlInstrumentor::CLIENT_API_EXIT:
        return finish(server, true, interface, method, pointers);
    default:
        return;  // Within this process.
    }
}

std::string nodesLine() {
    ordered_json nodes = ordered_json::array();
    const auto add = [&nodes](const char* service, ordered_json type, const std::string& file,
                              const std::string& takes) {
        nodes.push_back({{"service", service},
                         {"type", std::move(type)},
                         {"from", file.empty() ? "built in" : file},
                         {"takes", takes}});
    };
    for (const reference::NodeType& node : reference::NodeTypes()) {
        add("IAIService", node.type, node.file, node.takes);
    }
    add("IModelManagerService", nullptr, "",
        "Models, as ONNX or compiled, one of which each request names. Parameters: those of the "
        "node onnx.");
    return textOf({{"event", "nodes"}, {"nodes", nodes}});
}

std::string errorsLine(const LatestErrors& errors, const std::string& client) {
    return textOf({{"event", "errors"}, {"errors", errors.of(std::stoi(client))}});
}

std::string requestsLine() {
    // As the stages are numbered.
    constexpr const char* kStages[] = {"waiting", "running", "ended"};
    const auto micros = [](std::chrono::nanoseconds time) { return time.count() / 1000; };
    ordered_json requests = ordered_json::array();
    for (const reference::SessionRequests& session : reference::LatestRequests()) {
        for (const reference::RequestTimes& request : session.requests) {
            requests.push_back({{"service", session.service},
                                {"session", session.session},
                                {"state", kStages[static_cast<size_t>(request.stage)]},
                                {"ago_s", static_cast<double>(micros(request.age)) / 1e6},
                                {"waiting_us", micros(request.waited)},
                                {"running_us", micros(request.ran)}});
            if (request.stage == reference::RequestTimes::Stage::kEnded) {
                requests.back()["result"] = request.result;
            }
        }
    }
    return textOf({{"event", "requests"}, {"requests", requests}});
}

}  // namespace

CallTrace::CallTrace(const std::string& folder, const LatestErrors& errors)
        : server_(folder, orva_platform::observeCalls, [&errors](const std::string& question) {
              constexpr char kErrors[] = "errors ";
              if (question.rfind(kErrors, 0) == 0) {
                  return errorsLine(errors, question.substr(sizeof kErrors - 1));
              }
              if (question == "nodes") {
                  return nodesLine();
              }
              if (question == "requests") {
                  return requestsLine();
              }
              throw std::invalid_argument(question);
          }) {
    orva_platform::setCallObserver([this](auto event, const char*, const char*,
                                          const char* interface, const char* method,
                                          const std::vector<void*>* pointers) {
        try {
            observe(&server_, event, interface, method, *pointers);
        } catch (const std::exception&) {
            // Out of memory: this one is not shown.
        }
    });
    // Only now, since whoever watches has calls observed.
    server_.start();
}

}  // namespace orva::host
