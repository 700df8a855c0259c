/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <sys/types.h>

#include <utils/StrongPointer.h>
#include <vendor/selkat/hardware/ai/2.1/IAIService.h>
#include <vendor/selkat/hardware/ai/2.1/IModelManagerService.h>

namespace orva::client {

using AIService = vendor::selkat::hardware::ai::V2_1::IAIService;
using ModelManagerService = vendor::selkat::hardware::ai::V2_1::IModelManagerService;

// Whether there is a folder of service sockets. Throws ServiceError when there is something in its
// place that this process cannot find services in: another user's folder, a file. Makes nothing.
bool serviceFolderExists();

// The service under an instance name. Throws ServiceError, saying what is to be done, when nobody
// serves it, when whoever does is not answering, and when the folder cannot be used.
template <typename Service = AIService>
android::sp<Service> findService(const std::string& instance = "default");

// The process that serves it. Throws ServiceError as findService does when nobody does.
pid_t findHost(const std::string& instance);

}  // namespace orva::client
