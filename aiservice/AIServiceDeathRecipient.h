/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

#include <hidl/HidlSupport.h>

namespace orva::hidl {

// Ends a session when the process behind its listener dies. Called on a binder thread.
class AIServiceDeathRecipient : public android::hardware::hidl_death_recipient {
public:
    explicit AIServiceDeathRecipient(std::string id) : serviceId(std::move(id)) {}

    void serviceDied(uint64_t cookie,
                     const android::wp<android::hidl::base::V1_0::IBase>& who) override;

private:
    const std::string serviceId;
};

}  // namespace orva::hidl
