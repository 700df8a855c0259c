/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <android/hidl/base/1.0/IBase.h>
#include <utils/StrongPointer.h>

namespace orva::host {

// One service of the library, as its factory gave it.
struct OfferedService {
    std::string name;  // "IAIService"
    android::sp<android::hidl::base::V1_0::IBase> object;
};

// The server library, loaded as the platform's service host loads it: by name, for its exported
// factories. It stays loaded until the process exits, as do the services.
class ServiceLibrary {
public:
    // Throws std::runtime_error, saying why, when the library cannot be loaded.
    explicit ServiceLibrary(const std::string& path);

    // What the factories answer. A factory that is missing or answers null offers nothing; logged.
    std::vector<OfferedService> services() const;

    // Where the library lies unless told otherwise: as far from the programs as it is installed.
    static std::string defaultPath();

private:
    void* const handle_;
};

}  // namespace orva::host
