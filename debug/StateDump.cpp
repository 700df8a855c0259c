/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "debug/StateDump.h"

#include <unistd.h>

#include <cstdint>
#include <utility>

#include "common/Clock.h"
#include "common/HeldResources.h"
#include "common/Session.h"
#include "debug/DumpTree.h"
#include "debug/DumpWriter.h"
#include "transport/LiveTensor.h"

namespace orva::hidl {

using android::hardware::hidl_handle;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;

namespace {

// Of very many tensors, the others are only counted.
constexpr uint64_t kMostTensorsListed = 4096;

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

const char* NameOf(SessionState state) {
    switch (state) {
    case SessionState::kOpening:
        return "opening";
    case SessionState::kOpen:
        return "open";
    case SessionState::kNotOpened:
        return "not opened";
    case SessionState::kEnded:
        break;
    }
    return "ended";
}

DumpTree RequestsOf(uint64_t inFlight, uint64_t done) {
    return DumpTree::Object().Add("in_flight", inFlight).Add("done", done);
}

DumpTree Tensors(const Options& options) {
    DumpTree listed = DumpTree::List();
    uint64_t alive = 0;
    liveTensors.ForEach([&](const LiveTensor& tensor) {
        if (options.Wants(tensor.pid) && ++alive <= kMostTensorsListed) {
            DumpTree item = DumpTree::Object().Add("type", std::string(tensor.type));
            item.Add("bytes", tensor.bytes)
                    .AddSeconds("mapped_s", MonotonicNow() - tensor.mappedAt);
            listed.Add(std::move(item.AddSigned("pid", tensor.pid)));
        }
    });
    return DumpTree::Object().Add("alive", alive).Add("listed", std::move(listed));
}

// What is not of one client.
void AddTotals(const ServiceActivity& service, DumpTree& dump) {
    DumpTree refusals = DumpTree::Counts();
    for (size_t i = 0; i < static_cast<size_t>(Refusal::kCount_); ++i) {
        const auto reason = static_cast<Refusal>(i);
        refusals.Add(RefusalName(reason), service.Refusals(reason));
    }
    dump.Add("refusals", std::move(refusals));
    dump.Add("regions_refused", DumpTree::Counts()
                                        .Add("no_memory", refusedRegions.noMemory.load())
                                        .Add("too_short", refusedRegions.tooShort.load())
                                        .Add("client_mapped", refusedRegions.clientMapped.load())
                                        .Add("client_hollow", refusedRegions.clientHollow.load())
                                        .Add("by_kernel", refusedRegions.byKernel.load()));
    dump.Add("held", DumpTree::Object()
                             .Add("descriptors", heldResources.descriptors.load())
                             .Add("mappings", heldResources.mappings.load())
                             .Add("mapped_bytes", heldResources.mappedBytes.load()));
}

DumpTree Describe(const ServiceActivity& service,
                  const std::optional<std::set<std::string>>& listeners, const Options& options) {
    DumpTree sessions = DumpTree::List();
    uint64_t inFlight = 0, done = 0;
    service.sessions.ForEach([&](const SessionRecord* session) {
        if (!options.Wants(session->Id())) {
            return;
        }
        const RequestCount& requests = session->Requests();
        inFlight += requests.InFlight();
        done += requests.Done();
        const std::optional<bool> listens =
                listeners ? std::optional(listeners->count(session->Id()) != 0) : std::nullopt;
        sessions.Add(DumpTree::Object()
                             .Add("id", session->Id())
                             .Add("type", session->Type())
                             .Add("state", std::string(NameOf(session->State())))
                             .AddSeconds("idle_s", session->SinceLastUse())
                             .Add("listener", listens)
                             .Add("in_flight", requests.InFlight())
                             .Add("done", requests.Done()));
    });
    const bool isWhole = options.client.empty();
    if (isWhole) {
        // Also of sessions that are gone.
        inFlight = service.requests.InFlight();
        done = service.requests.Done();
    }
    DumpTree latest = DumpTree::List();
    for (const RefusedCall& call : service.LatestRefusals()) {
        if (options.Wants(call.client)) {
            latest.Add(DumpTree::Object()
                               .AddSeconds("ago_s", MonotonicNow() - call.at)
                               .Add("client", call.client)
                               .Add("method", std::string(call.method))
                               .AddSigned("status", call.status)
                               .Add("reason", std::string(RefusalName(call.reason)))
                               .Add("text", call.text));
        }
    }

    DumpTree dump = DumpTree::Object();
    dump.Add("service", std::string(service.Name())).AddSigned("pid", getpid());
    dump.AddSeconds("age_s", service.Age());
    dump.Add("sessions", std::move(sessions)).Add("requests", RequestsOf(inFlight, done));
    if (isWhole) {
        AddTotals(service, dump);
    }
    return std::move(
            dump.Add("tensors", Tensors(options)).Add("latest_refusals", std::move(latest)));
}

}  // namespace

void DumpState(const ServiceActivity& service,
               const std::optional<std::set<std::string>>& listeners, const hidl_handle& handle,
               const hidl_vec<hidl_string>& texts) {
    const native_handle_t* const native = handle.getNativeHandle();
    if (native == nullptr || native->numFds < 1) {
        return;
    }
    Options options;
    std::string dump = "options: --json, --client ID\n";
    if (options.Parse(texts)) {
        const DumpTree tree = Describe(service, listeners, options);
        dump = options.json ? tree.Json() + "\n" : tree.Lines();
    }
    WriteDump(native->data[0], dump);
}

}  // namespace orva::hidl
