/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/lib/FindService.h"

#include <cerrno>
#include <cstring>

#include <orva_platform/Runtime.h>
#include <sys/stat.h>
#include <unistd.h>

#include "client/lib/ServiceError.h"
#include "client/lib/TimeLimit.h"

namespace orva::client {

using android::sp;

namespace {

constexpr char kAdvice[] = "; start orva-host, or name its folder with --socket-dir";

// Who serves it all the same; 0 when nobody does.
pid_t serverOf(const std::string& interface, const std::string& instance) {
    for (const auto& entry : orva_platform::listServices()) {
        if (entry.interface == interface && entry.instance == instance) {
            return entry.pid;
        }
    }
    return 0;
}

}  // namespace

bool serviceFolderExists() {
    const std::string path = orva_platform::serviceDirectory();
    const auto refuse = [&](const std::string& why) -> void {
        throw ServiceError("cannot find services in " + path + ": " + why, -1);
    };
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0) {
        if (errno == ENOENT) {
            return false;
        }
        refuse(std::strerror(errno));
    }
    if (!S_ISDIR(info.st_mode)) {
        refuse(std::strerror(ENOTDIR));
    }
    if (info.st_uid != geteuid()) {
        refuse("the folder is another user's, and a host serves its own user only");
    }
    if ((info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        refuse("others may write to the folder, so it is not trusted; chmod go-w helps");
    }
    if (access(path.c_str(), R_OK | X_OK) != 0) {
        refuse(std::strerror(errno));
    }
    return true;
}

template <typename Service>
sp<Service> findService(const std::string& instance) {
    const std::string folder = orva_platform::serviceDirectory();
    const std::string name = std::string(Service::descriptor) + " '" + instance + "'";
    if (!serviceFolderExists()) {
        throw ServiceError("no " + name + ": there is no folder " + folder + kAdvice, -1);
    }
    if (sp<Service> service = Service::getService(instance)) {
        return service;
    }
    if (const pid_t pid = serverOf(Service::descriptor, instance)) {
        const std::string who =
                "process " + std::to_string(pid) + " serves " + name + " in " + folder;
        throw ServiceError(who + " but " + tooLong("did not answer", timeLimit()), -1);
    }
    throw ServiceError("no " + name + " in " + folder + kAdvice, -1);
}

pid_t findHost(const std::string& instance) {
    const pid_t pid = serviceFolderExists() ? serverOf(AIService::descriptor, instance) : 0;
    if (pid == 0) {
        throw ServiceError("no host serves '" + instance + "' in " +
                                   orva_platform::serviceDirectory() + kAdvice,
                           -1);
    }
    return pid;
}

template sp<AIService> findService(const std::string&);
template sp<ModelManagerService> findService(const std::string&);

}  // namespace orva::client
