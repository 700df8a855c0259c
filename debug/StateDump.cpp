/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "debug/StateDump.h"

#include <unistd.h>

#include <algorithm>
#include <cinttypes>

#include "debug/DumpText.h"
#include "debug/DumpWriter.h"
#include "debug/HeldResources.h"
#include "debug/LiveTensors.h"

namespace orva::hidl {

using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;

namespace {

struct Options {
    bool json = false;
    std::string client;  // empty: all

    bool Parse(const hidl_vec<hidl_string>& texts) {
        for (size_t i = 0; i < texts.size(); ++i) {
            const std::string text = texts[i];
            if (text == "--json") {
                json = true;
            } else if (text == "--client" && i + 1 < texts.size() && !texts[i + 1].empty()) {
                client = texts[++i];
            } else {
                return false;
            }
        }
        return true;
    }

    // The session that was asked for, or any of the process.
    bool Wants(const std::string& id) const {
        return client.empty() || id == client || id.compare(0, id.find(':'), client) == 0;
    }
    bool Wants(int32_t pid) const {
        return client.empty() || std::to_string(pid) == client.substr(0, client.find(':'));
    }
};

struct Totals {
    uint64_t inFlight = 0;
    uint64_t done = 0;
};

// What was asked for, picked from the state; the rest of it is not looked at again.
struct View {
    const ServiceState& state;
    bool whole;
    std::optional<std::vector<SessionState>> sessions;
    Totals requests;
    LiveTensors tensors;
    uint64_t tensorBytes = 0;
};

View Pick(const ServiceState& state, const Options& options) {
    View view = {state, options.client.empty(), state.sessions, {}, ListTensors()};
    auto& tensors = view.tensors.listed;
    tensors.erase(std::remove_if(tensors.begin(), tensors.end(),
                                 [&](const LiveTensor& each) { return !options.Wants(each.pid); }),
                  tensors.end());
    for (const LiveTensor& tensor : tensors) {
        view.tensorBytes += tensor.bytes;
    }
    if (view.whole) {
        view.requests = {state.activity.InFlight(), state.activity.Done()};
        return view;
    }
    view.tensors.alive = tensors.size();
    if (view.sessions) {
        auto& sessions = *view.sessions;
        sessions.erase(
                std::remove_if(sessions.begin(), sessions.end(),
                               [&](const SessionState& each) { return !options.Wants(each.id); }),
                sessions.end());
        for (const SessionState& session : sessions) {
            view.requests.inFlight += session.activity->InFlight();
            view.requests.done += session.activity->Done();
        }
    }
    return view;
}

double Seconds(int64_t nanoseconds) {
    return static_cast<double>(nanoseconds) / 1e9;
}

std::string Text(const View& view) {
    std::string text;
    Append(text, "%s in process %d, for %.3f s\n", view.state.name, getpid(),
           Seconds(view.state.activity.Age()));
    if (!view.sessions) {
        text += "sessions: locked\n";
    } else {
        Append(text, "sessions: %zu\n", view.sessions->size());
        for (const SessionState& session : *view.sessions) {
            const SessionActivity& activity = *session.activity;
            Append(text,
                   "  %s  type %s  used %.3f s ago  listener %s  %" PRIu64 " in flight, %" PRIu64
                   " done\n",
                   session.id.c_str(), Quoted(activity.Type()).c_str(),
                   Seconds(activity.SinceLastUse()),
                   !session.listener   ? "locked"
                   : *session.listener ? "set"
                                       : "not set",
                   activity.InFlight(), activity.Done());
        }
    }
    Append(text, "requests: %" PRIu64 " in flight, %" PRIu64 " done\n", view.requests.inFlight,
           view.requests.done);
    if (view.whole) {
        text += "refusals:\n";
        for (size_t i = 0; i < static_cast<size_t>(Refusal::kCount_); ++i) {
            const auto reason = static_cast<Refusal>(i);
            if (const uint64_t count = view.state.activity.Refusals(reason)) {
                Append(text, "  %s  %" PRIu64 "\n", RefusalName(reason), count);
            }
        }
    }
    Append(text, "tensors of both services: %zu, listed %zu with %" PRIu64 " bytes\n",
           view.tensors.alive, view.tensors.listed.size(), view.tensorBytes);
    for (const LiveTensor& tensor : view.tensors.listed) {
        Append(text, "  %s  %" PRIu64 " bytes  mapped for %.3f s  process %d\n", tensor.type,
               tensor.bytes, Seconds(tensor.mappedFor), tensor.pid);
    }
    if (view.whole) {
        Append(text,
               "held for both services: %" PRIu64 " descriptors, %" PRIu64 " mappings of %" PRIu64
               " bytes\n",
               heldResources.descriptors.load(), heldResources.mappings.load(),
               heldResources.mappedBytes.load());
    }
    return text;
}

std::string Json(const View& view) {
    std::string text;
    Append(text, "{\"service\":\"%s\",\"pid\":%d,\"age_s\":%.3f,\"sessions\":", view.state.name,
           getpid(), Seconds(view.state.activity.Age()));
    if (!view.sessions) {
        text += "null";
    } else {
        text += "[";
        const char* separator = "";
        for (const SessionState& session : *view.sessions) {
            const SessionActivity& activity = *session.activity;
            Append(text,
                   "%s{\"id\":%s,\"type\":%s,\"idle_s\":%.3f,\"listener\":%s,"
                   "\"in_flight\":%" PRIu64 ",\"done\":%" PRIu64 "}",
                   separator, Quoted(session.id).c_str(), Quoted(activity.Type()).c_str(),
                   Seconds(activity.SinceLastUse()),
                   !session.listener   ? "null"
                   : *session.listener ? "true"
                                       : "false",
                   activity.InFlight(), activity.Done());
            separator = ",";
        }
        text += "]";
    }
    Append(text, ",\"requests\":{\"in_flight\":%" PRIu64 ",\"done\":%" PRIu64 "}",
           view.requests.inFlight, view.requests.done);
    if (view.whole) {
        text += ",\"refusals\":{";
        const char* separator = "";
        for (size_t i = 0; i < static_cast<size_t>(Refusal::kCount_); ++i) {
            const auto reason = static_cast<Refusal>(i);
            Append(text, "%s\"%s\":%" PRIu64, separator, RefusalName(reason),
                   view.state.activity.Refusals(reason));
            separator = ",";
        }
        text += "}";
    }
    Append(text, ",\"tensors\":{\"alive\":%zu,\"listed\":[", view.tensors.alive);
    const char* separator = "";
    for (const LiveTensor& tensor : view.tensors.listed) {
        Append(text, "%s{\"type\":%s,\"bytes\":%" PRIu64 ",\"mapped_s\":%.3f,\"pid\":%d}",
               separator, Quoted(tensor.type).c_str(), tensor.bytes, Seconds(tensor.mappedFor),
               tensor.pid);
        separator = ",";
    }
    text += "]}";
    if (view.whole) {
        Append(text,
               ",\"held\":{\"descriptors\":%" PRIu64 ",\"mappings\":%" PRIu64
               ",\"mapped_bytes\":%" PRIu64 "}",
               heldResources.descriptors.load(), heldResources.mappings.load(),
               heldResources.mappedBytes.load());
    }
    return text + "}\n";
}

}  // namespace

std::vector<SessionState> StatesOf(const SessionActivities& activities) {
    std::vector<SessionState> sessions;
    sessions.reserve(activities.size());
    for (const auto& [id, activity] : activities) {
        sessions.push_back({id, activity, std::nullopt});
    }
    return sessions;
}

void DumpState(const ServiceState& state, const hidl_handle& handle,
               const hidl_vec<hidl_string>& texts) {
    const native_handle_t* const native = handle.getNativeHandle();
    if (native == nullptr || native->numFds < 1) {
        return;
    }
    Options options;
    std::string dump = "options: --json, --client ID\n";
    if (options.Parse(texts)) {
        const View view = Pick(state, options);
        dump = options.json ? Json(view) : Text(view);
    }
    WriteDump(native->data[0], dump);
}

}  // namespace orva::hidl
