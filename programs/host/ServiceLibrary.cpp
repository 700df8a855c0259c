/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "orva-host"

#include "ServiceLibrary.h"

#include <dlfcn.h>

#include <filesystem>
#include <stdexcept>

#include <log/log.h>
#include <vendor/selkat/hardware/ai/2.1/IAIService.h>
#include <vendor/selkat/hardware/ai/2.1/IModelManagerService.h>

namespace orva::host {

using android::sp;
using android::hidl::base::V1_0::IBase;
using vendor::selkat::hardware::ai::V2_1::IAIService;
using vendor::selkat::hardware::ai::V2_1::IModelManagerService;

namespace {

// A factory answers a pointer to its own interface, so it must be called as what it is.
template <typename Interface>
void fetch(void* library, const char* name, std::vector<OfferedService>* services) {
    const std::string symbol = std::string("HIDL_FETCH_") + name;
    const auto factory =
            reinterpret_cast<Interface* (*)(const char*)>(dlsym(library, symbol.c_str()));
    Interface* const service = factory == nullptr ? nullptr : factory("default");
    if (service == nullptr) {
        ALOGW("%s is not offered: %s %s", name, symbol.c_str(),
              factory == nullptr ? "is missing" : "answers null");
        return;
    }
    services->push_back({name, sp<IBase>(service)});
}

}  // namespace

ServiceLibrary::ServiceLibrary(const std::string& path)
        : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) {
        throw std::runtime_error(std::string("cannot load the server library: ") + dlerror());
    }
}

std::vector<OfferedService> ServiceLibrary::services() const {
    std::vector<OfferedService> services;
    fetch<IAIService>(handle_, "IAIService", &services);
    fetch<IModelManagerService>(handle_, "IModelManagerService", &services);
    return services;
}

std::string ServiceLibrary::defaultPath() {
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe");
    const std::filesystem::path folder = program.parent_path() / ORVA_BIN_TO_LIB;
    return folder.lexically_normal() / "liborva_hidl_server.so";
}

}  // namespace orva::host
