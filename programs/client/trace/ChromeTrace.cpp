/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/trace/ChromeTrace.h"

#include <cerrno>
#include <system_error>

#include "client/report/HostState.h"

namespace orva::client {

using nlohmann::ordered_json;

namespace {

// The format counts in microseconds.
double microseconds(TracedCall::Time time) {
    return static_cast<double>(time.count()) / 1000;
}

}  // namespace

ChromeTrace::ChromeTrace(const std::string& path) : path_(path), file_(fopen(path.c_str(), "we")) {
    if (file_ == nullptr ||
        fputs("{\"displayTimeUnit\":\"ms\",\"traceEvents\":[\n", file_.get()) < 0) {
        fail();
    }
}

void ChromeTrace::add(const TracedCall& call, TracedCall::Time now) {
    name(call);
    ordered_json args = {{"arguments", call.arguments}};
    if (!call.end || call.isLost) {
        args[call.end ? "failed" : "unfinished"] = true;
    } else {
        args["results"] = call.results;
    }
    put({{"ph", "X"},
         {"cat", call.isCallback ? "callback" : "call"},
         {"name", call.method},
         {"pid", call.client},
         {"tid", call.thread},
         {"ts", microseconds(call.begin)},
         {"dur", microseconds(call.end.value_or(now) - call.begin)},
         {"args", args}});
    addService(call);
}

void ChromeTrace::addLost(uint64_t count, TracedCall::Time at) {
    put({{"ph", "i"},
         {"s", "g"},
         {"name", std::to_string(count) + " lines lost"},
         {"pid", 0},
         {"tid", 0},
         {"ts", microseconds(at)}});
}

void ChromeTrace::close() {
    if (fputs("\n]}\n", file_.get()) < 0 || fflush(file_.get()) != 0) {
        fail();
    }
}

void ChromeTrace::put(const ordered_json& event) {
    const std::string text = (first_ ? "" : ",\n") +
                             event.dump(-1, ' ', true, ordered_json::error_handler_t::replace);
    first_ = false;
    if (fwrite(text.data(), 1, text.size(), file_.get()) != text.size()) {
        fail();
    }
}

void ChromeTrace::name(const TracedCall& call) {
    const auto put = [&](const char* what, pid_t thread, const std::string& name) {
        this->put({{"ph", "M"},
                   {"name", what},
                   {"pid", call.client},
                   {"tid", thread},
                   {"args", {{"name", name}}}});
    };
    if (clients_.insert(call.client).second) {
        const auto facts = processFacts(call.client);
        put("process_name", 0, "client " + (facts ? facts->program : "that has gone"));
    }
    if (threads_.insert({call.client, call.thread}).second) {
        put("thread_name", call.thread, call.isCallback ? "host delivers" : "host serves");
    }
}

// Of different requests they overlap, so they stand apart from the threads.
void ChromeTrace::addService(const TracedCall& call) {
    const auto service = call.service();
    if (!service) {
        return;
    }
    const auto put = [&](const char* phase, const char* name, TracedCall::Time at) {
        this->put({{"ph", phase},
                   {"cat", "request"},
                   {"id", call.id},
                   {"name", name},
                   {"pid", call.client},
                   {"tid", call.thread},
                   {"ts", microseconds(at)}});
    };
    const TracedCall::Time ran = call.begin - service->run, queued = ran - service->queue;
    put("b", "request", queued);
    put("b", "waits", queued);
    put("e", "waits", ran);
    put("b", "runs", ran);
    put("e", "runs", call.begin);
    put("b", "result", call.begin);
    put("e", "result", call.end.value_or(call.begin));
    put("e", "request", call.end.value_or(call.begin));
}

void ChromeTrace::fail() const {
    throw std::system_error(errno, std::generic_category(), "cannot write " + path_);
}

}  // namespace orva::client
