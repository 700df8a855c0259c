/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/Client.h"

#include <unistd.h>

#include <unordered_map>
#include <utility>

#include <orva/reference/Settings.h>

#include "base/Mutex.h"

namespace orva::reference {

namespace {

struct Registry {
    Mutex mutex;
    std::shared_ptr<const ClientIdentity> identity ORVA_GUARDED_BY(mutex);
    std::unordered_map<pid_t, std::weak_ptr<Client>> clients ORVA_GUARDED_BY(mutex);
};

Registry& TheRegistry() {
    // Never destroyed: sessions may end while the process exits.
    static auto& registry = *new Registry;
    return registry;
}

std::shared_ptr<const ClientIdentity> Identity() {
    Registry& registry = TheRegistry();
    MutexLock lock(registry.mutex);
    return registry.identity;
}

// Half of the machine's memory; the rest is for all that is not the engine's.
size_t EngineMemory() {
    return static_cast<size_t>(sysconf(_SC_PHYS_PAGES)) / 2 *
           static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

}  // namespace

Quota& SessionQuota() {
    static auto& quota = *new Quota("sessions", 128, "--client-sessions");
    return quota;
}
Quota& RequestQuota() {
    static auto& quota = *new Quota("requests under way", 512, "--client-requests");
    return quota;
}
Quota& TensorQuota() {
    static auto& quota =
            *new Quota("tensors bound or of requests under way", 4096, "--client-tensors");
    return quota;
}
Quota& ThreadQuota() {
    static auto& quota = *new Quota("framework threads", 96, "--client-threads");
    return quota;
}
Quota& EngineMemoryQuota() {
    static auto& quota = *new Quota("bytes of engine memory", EngineMemory() / 2,
                                    "--client-engine-memory", EngineMemory(), "--engine-memory");
    return quota;
}

Client::Client(pid_t pid)
        : life_(pid),
          sessions(SessionQuota(), pid),
          requests(RequestQuota(), pid),
          tensors(TensorQuota(), pid),
          threads(ThreadQuota(), pid),
          memory(EngineMemoryQuota(), pid) {}

Client::~Client() {
    Registry& registry = TheRegistry();
    MutexLock lock(registry.mutex);
    const auto found = registry.clients.find(pid());
    if (found != registry.clients.end() && found->second.expired()) {
        registry.clients.erase(found);
    }
}

std::shared_ptr<Client> Client::Calling() {
    const auto identity = Identity();
    return Of(identity != nullptr ? (*identity)() : 0);
}

std::shared_ptr<Client> Client::Of(pid_t pid) {
    Registry& registry = TheRegistry();
    std::shared_ptr<Client> client;  // Let go of outside the lock.
    {
        MutexLock lock(registry.mutex);
        const auto found = registry.clients.find(pid);
        client = found != registry.clients.end() ? found->second.lock() : nullptr;
    }
    if (client != nullptr && !client->HasGone()) {
        return client;
    }
    auto made = std::make_shared<Client>(pid);
    MutexLock lock(registry.mutex);
    std::weak_ptr<Client>& place = registry.clients[pid];
    // Another thread may have been here meanwhile.
    std::shared_ptr<Client> other = place.lock();
    if (other != nullptr && other != client) {
        return other;
    }
    place = made;
    return made;
}

bool Client::AreKnown() {
    return Identity() != nullptr;
}

void UseClientIdentity(ClientIdentity identity) {
    Registry& registry = TheRegistry();
    auto used = identity ? std::make_shared<const ClientIdentity>(std::move(identity)) : nullptr;
    MutexLock lock(registry.mutex);
    registry.identity.swap(used);
}

void SetClientSessions(size_t most) {
    SessionQuota().SetEach(most);
}
void SetClientRequests(size_t most) {
    RequestQuota().SetEach(most);
}
void SetClientTensors(size_t most) {
    TensorQuota().SetEach(most);
}
void SetClientThreads(size_t most) {
    ThreadQuota().SetEach(most);
}
void SetEngineMemory(size_t each, size_t all) {
    EngineMemoryQuota().SetEach(each);
    EngineMemoryQuota().SetAll(all);
}

}  // namespace orva::reference
