/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <orva/AIServiceConnectManager.h>

#include "common/ClientProcess.h"
#include "common/Log.h"
#include "common/Mutex.h"
#include "common/ServiceActivity.h"
#include "common/Session.h"
#include "common/StatusCodes.h"

namespace orva::hidl {

// Ends a session of a service when the process behind its listener dies. Called on a binder
// thread. The service is asked for only then, and made if there is none yet.
template <typename Service>
class ClientDeathRecipient : public android::hardware::hidl_death_recipient {
public:
    // Made in the call of the client whose listener it is.
    explicit ClientDeathRecipient(std::string id) : serviceId(std::move(id)) {}

    void serviceDied(uint64_t /*cookie*/,
                     const android::wp<android::hidl::base::V1_0::IBase>& /*who*/) override {
        const char* const kLogTag = Service::kLogTag;
        ORVA_LOGI("AIClient %s is inactive", serviceId.c_str());
        // A copy: the service lets go of this object on the way.
        Service::GetInstance()->RemoveService(std::string(serviceId));
    }

    const ClientProcess& Client() const { return *client_; }

private:
    const std::string serviceId;
    const std::shared_ptr<const ClientProcess> client_ = ClientProcess::Calling();
};

// What both services do alike for their clients, and the tables of their listeners. A service adds
// its table of sessions, as Sessions() under SessionMutex(), and RemoveService(). The two mutexes
// are never held together.
template <typename Service, typename Interface, typename Listener, typename ListenerMutex>
class ClientService : public Interface {
public:
    // The service that the process offers, made by the first call. It lives until the process
    // exits, or as long as somebody holds a reference beyond that.
    static Service* GetInstance() {
        // The reference held here is what keeps a client's last release from destroying the
        // service, and a client that lets go only after process exit has begun finds it alive.
        static const android::sp<Service> service = new Service;
        return service.get();
    }

    // Asked whether the service is there, it lets go of what processes that are gone have left.
    android::hardware::Return<void> ping() override {
        RemoveWhatDeadClientsLeft();
        return android::hardware::Void();
    }

protected:
    // The interface's name, for people.
    explicit ClientService(const char* name) : activity_(name, Service::kLogTag) {}

    // Asks the connection manager, which counts the clients of both services, to let another one
    // in. At the limit a client whose time has run out makes way, whoever it is; the count is not
    // looked at again. False, and refused by Init, when there is none.
    bool AdmitClient(const std::string& serviceId) {
        // Nobody is refused for the sake of a process that is gone, nor gets such a one's session.
        RemoveWhatDeadClientsLeft();
        AIServiceConnectManager* const connections = AIServiceConnectManager::GetInstance();
        if (connections->CheckServiceNum()) {
            return true;
        }
        const std::string idle = connections->GetTimeoutServiceId();
        if (idle.empty()) {
            activity_.Refuse(ORVA_IN("Init"), kStatusFailure, serviceId,
                             "The number of service is more than limit, init failed.");
            return false;
        }
        Self().RemoveService(idle);
        return true;
    }

    // Ends the sessions of processes that are gone, and drops their listeners, recipients and
    // times. One system call when all are there.
    void RemoveWhatDeadClientsLeft() {
        if (!ClientProcess::LookForEnded()) {
            return;
        }
        // Found one at a time: letting go of one can take long, and by then another process may
        // have the number of those that are gone, and sessions of the same ids.
        for (std::string id = FindDeadSession(); !id.empty(); id = FindDeadSession()) {
            Self().RemoveService(id);
        }
        // Those without a session. Released after the lock.
        std::vector<android::sp<Listener>> listeners;
        MutexLock lock(listenerMutex);
        std::vector<std::string> left;
        for (const auto& [id, recipient] : deathRecipients) {
            if (recipient->Client().HasEnded()) {
                left.push_back(id);
            }
        }
        for (const std::string& id : left) {
            listeners.push_back(ForgetClient(id));
            AIServiceConnectManager::GetInstance()->RemoveServiceTime(id);
        }
    }

    // The session that a method asks for, by the line that it has for an id without one, which is
    // refused with `status`.
    auto TakeSession(const std::string& serviceId, const LogSource& method, const char* noSession,
                     int32_t status = kStatusNoSession) {
        MutexLock lock(Self().SessionMutex());
        auto session = FindSession(Self().Sessions(), serviceId);
        if (!session) {
            activity_.Refuse(method, status, serviceId, noSession, serviceId.c_str());
        }
        return session;
    }

    // Tells the connection manager that a session is in use. Of one that has ended since it was
    // looked up nothing stays there, because nobody would be left to remove it.
    void UpdateServiceTime(const std::string& serviceId, SessionRecord& session) {
        AIServiceConnectManager* const connections = AIServiceConnectManager::GetInstance();
        connections->UpdateServiceTime(serviceId);
        session.Use();
        if (session.HasEnded()) {
            MutexLock lock(Self().SessionMutex());
            // The client may have opened the id again, whose time this is then.
            if (Self().Sessions().count(serviceId) == 0) {
                connections->RemoveServiceTime(serviceId);
            }
        }
    }

    // Hands a request to the framework, by a call that answers a status, and counts it. One that
    // the framework refuses is over, and the client is told its status.
    template <typename Call>
    int32_t Request(const std::string& serviceId, SessionRecord& session, const LogSource& method,
                    Call&& call) {
        UpdateServiceTime(serviceId, session);
        session.RequestBegins();
        const int32_t status = call();
        if (status != kStatusSuccess) {
            session.RequestEnds(false);
            activity_.Refuse(method, status, serviceId);
        }
        return status;
    }

    // Has the client's session end with the process behind its listener, which may be null: then
    // its results are dropped without a word. False when memory ran out. The cookie tells the
    // platform's traces apart; the recipient does not look at it.
    bool LinkToDeath(const std::string& serviceId, const android::sp<Listener>& listener,
                     uint64_t cookie) ORVA_REQUIRES(listenerMutex) {
        const android::sp<ClientDeathRecipient<Service>> recipient =
                new (std::nothrow) ClientDeathRecipient<Service>(serviceId);
        if (recipient == nullptr) {
            return false;
        }
        deathRecipients[serviceId] = recipient;
        if (listener != nullptr) {
            // Of one that is dead already the recipient hears as of any other.
            (void)listener->linkToDeath(recipient, cookie).isOk();
        }
        return true;
    }

    // Takes a client's listener and its recipient out of the tables, whichever are there, and the
    // link between them. Answers the listener, to be released without the service's locks: the last
    // reference tells the client's process, which may be slow to listen.
    android::sp<Listener> ForgetClient(const std::string& serviceId) ORVA_REQUIRES(listenerMutex) {
        android::sp<Listener> forgotten;
        const auto listener = clientListeners.find(serviceId);
        const auto recipient = deathRecipients.find(serviceId);
        if (listener != clientListeners.end() && recipient != deathRecipients.end() &&
            listener->second != nullptr) {
            // The client may be dead already, so the answer means nothing.
            (void)listener->second->unlinkToDeath(recipient->second).isOk();
        }
        if (recipient != deathRecipients.end()) {
            deathRecipients.erase(recipient);
        }
        if (listener != clientListeners.end()) {
            forgotten = std::move(listener->second);
            clientListeners.erase(listener);
        }
        return forgotten;
    }

    // Before the sessions, which it outlives.
    ServiceActivity activity_;
    std::map<std::string, android::sp<Listener>> clientListeners ORVA_GUARDED_BY(listenerMutex);
    std::map<std::string, android::sp<ClientDeathRecipient<Service>>> deathRecipients
            ORVA_GUARDED_BY(listenerMutex);
    ListenerMutex listenerMutex;

private:
    // The id of a session whose process is gone; empty where there is none.
    std::string FindDeadSession() {
        MutexLock lock(Self().SessionMutex());
        for (const auto& [id, session] : Self().Sessions()) {
            if (session.record->Client().HasEnded()) {
                return id;
            }
        }
        return "";
    }

    Service& Self() { return static_cast<Service&>(*this); }
};

}  // namespace orva::hidl
