/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include "debug/ServiceActivity.h"

namespace orva::hidl {

// Tells the connection manager that a session is in use. Takes no lock of the services: of a
// session that has ended since it was looked up nothing stays there, because nobody would be left
// to remove it. What ends a session marks it (EndSession) before it removes its time.
void UpdateServiceTime(const std::string& serviceId, SessionActivity& session);

}  // namespace orva::hidl
