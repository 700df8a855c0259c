/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "debug/StateDump.h"

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "common/ClientProcess.h"
#include "common/Clock.h"
#include "common/Session.h"
#include "common/SharedMapping.h"
#include "debug/DumpText.h"
#include "debug/DumpWriter.h"

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

// In the order of the states.
constexpr const char* kStates[] = {"opening", "open", "not opened", "ended"};

void AddRequests(const RequestCount::Seen& requests, DumpText& dump) {
    dump.Add("in_flight", requests.inFlight).Add("done", requests.done);
    dump.Add("taken_us", requests.micros);
}

void AddSessions(const ServiceActivity& service, const Options& options, DumpText& dump) {
    RequestCount::Seen all = {};
    dump.Open("sessions", '[');
    service.ForEachSession([&](const SessionRecord& session) {
        if (options.Wants(session.Id())) {
            const RequestCount::Seen requests = session.Requests().Look();
            all.inFlight += requests.inFlight;
            all.done += requests.done;
            all.micros += requests.micros;
            dump.Open("", '{').Add("id", session.Id()).Add("type", session.Type());
            dump.Add("state", kStates[static_cast<size_t>(session.State())]);
            dump.Add("process", session.Client().HasEnded() ? "gone" : "alive");
            dump.AddSeconds("idle_s", session.SinceLastUse());
            AddRequests(requests, dump);
            dump.Close();
        }
    });
    dump.Close();
    if (options.client.empty()) {
        all = service.requests.Look();  // Also of sessions that are gone.
    }
    dump.Open("requests", '{');
    AddRequests(all, dump);
    dump.Close();
}

void AddMemory(const Options& options, DumpText& dump) {
    ClientProcess::Memory all = {};
    dump.Open("clients", '[');
    for (const std::shared_ptr<ClientProcess>& client : ClientProcess::All()) {
        if (options.Wants(client->Pid())) {
            const auto [mappings, mapped, hollow] = client->Mapped();
            all = {all.mappings + mappings, all.mapped + mapped, all.hollow + hollow};
            dump.Open("", '{').AddSigned("pid", client->Pid());
            dump.Add("program", client->HasEnded() ? "gone" : ProgramOf(client->Pid()));
            dump.Add("mappings", mappings).Add("mapped_bytes", mapped);
            dump.Add("hollow_bytes", hollow).Close();
        }
    }
    dump.Close().Open("held", '{').Add("mappings", all.mappings);
    dump.Add("mapped_bytes", all.mapped).Close();
}

void AddRefusals(const ServiceActivity& service, const Options& options, DumpText& dump) {
    dump.Open("latest_refusals", '[');
    for (const RefusedCall& call : service.LatestRefusals()) {
        if (options.Wants(call.client)) {
            dump.Open("", '{').AddSeconds("ago_s", MonotonicNow() - call.at);
            dump.Add("client", call.client).Add("program", call.program);
            dump.Add("method", call.method).AddSigned("status", call.status);
            dump.Add("text", call.text).Close();
        }
    }
    dump.Close();
    dump.Open("regions_refused", '{').Add("no_memory", refusedRegions.noMemory);
    dump.Add("too_short", refusedRegions.tooShort)
            .Add("client_mapped", refusedRegions.clientMapped);
    dump.Add("client_hollow", refusedRegions.clientHollow);
    dump.Add("by_kernel", refusedRegions.byKernel).Close();
}

}  // namespace

void DumpState(const ServiceActivity& service, const hidl_handle& handle,
               const hidl_vec<hidl_string>& texts) {
    const native_handle_t* const native = handle.getNativeHandle();
    if (native == nullptr || native->numFds < 1) {
        return;
    }
    Options options;
    if (!options.Parse(texts)) {
        WriteDump(native->data[0], "options: --json, --client ID\n");
        return;
    }
    ClientProcess::LookForEnded();
    DumpText dump(options.json);
    dump.Open("", '{').Add("service", service.Name()).AddSigned("pid", getpid());
    dump.AddSeconds("age_s", service.Age()).Add("refusals", service.Refusals());
    AddSessions(service, options, dump);
    AddMemory(options, dump);
    AddRefusals(service, options, dump);
    WriteDump(native->data[0], dump.Close().Text() + "\n");
}

}  // namespace orva::hidl
