/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>
#include <vector>

#include <android/hidl/base/1.0/IBase.h>

namespace orva::client {

// What a service says of its own state when it is asked with these options. Throws ServiceError,
// and std::system_error when there is no memory for the answer.
std::string stateOf(android::hidl::base::V1_0::IBase& service,
                    const std::vector<std::string>& options);

}  // namespace orva::client
