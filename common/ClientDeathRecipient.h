/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include <hidl/HidlSupport.h>

#include "common/ClientProcess.h"
#include "common/Log.h"

namespace orva::hidl {

// Ends a session of a service when the process behind its listener dies. Called on a binder
// thread. The service is asked for only then, and made if there is none yet.
template <typename Service>
class ClientDeathRecipient : public android::hardware::hidl_death_recipient {
public:
    // `client` is the process whose listener it is.
    ClientDeathRecipient(std::string id, std::shared_ptr<ClientProcess> client)
            : serviceId(std::move(id)), client_(std::move(client)) {}

    void serviceDied(uint64_t /*cookie*/,
                     const android::wp<android::hidl::base::V1_0::IBase>& /*who*/) override {
        ORVA_LOGI(Service::kLogTag, "AIClient %s is inactive", serviceId.c_str());
        // A copy: the service lets go of this object on the way.
        Service::GetInstance()->RemoveService(std::string(serviceId));
    }

    const std::shared_ptr<ClientProcess>& Client() const { return client_; }

private:
    const std::string serviceId;
    const std::shared_ptr<ClientProcess> client_;
};

template <typename Service>
const std::shared_ptr<ClientProcess>& ClientOf(
        const android::sp<ClientDeathRecipient<Service>>& recipient) {
    return recipient->Client();
}

// Takes a client's listener and its recipient out of a service's tables, whichever are there, and
// the link between them. Under the lock of both. Answers the listener, to be released without the
// service's locks: the last reference tells the client's process, which may be slow to listen.
template <typename Listeners, typename Recipients>
typename Listeners::mapped_type ForgetClient(const std::string& serviceId, Listeners& listeners,
                                             Recipients& recipients) {
    typename Listeners::mapped_type forgotten;
    const auto listener = listeners.find(serviceId);
    const auto recipient = recipients.find(serviceId);
    if (listener != listeners.end() && recipient != recipients.end() &&
        listener->second != nullptr) {
        // The client may be dead already, so the answer means nothing.
        (void)listener->second->unlinkToDeath(recipient->second).isOk();
    }
    if (recipient != recipients.end()) {
        recipients.erase(recipient);
    }
    if (listener != listeners.end()) {
        forgotten = std::move(listener->second);
        listeners.erase(listener);
    }
    return forgotten;
}

}  // namespace orva::hidl
