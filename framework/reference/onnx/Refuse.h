/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <stdexcept>
#include <string>

namespace orva::reference {

// Ends the work on a model or a request, with the reason for its client.
[[noreturn]] inline void Refuse(const std::string& reason) {
    throw std::runtime_error(reason);
}

}  // namespace orva::reference
