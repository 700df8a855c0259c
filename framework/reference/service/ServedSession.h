/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

namespace orva::reference {

// The session that this thread's call is of, as AIServiceConnectManager was told: the one way in
// which the framework hears of it. For the request that follows, which takes it away, so that no
// other call is thought to be of it.
inline std::string& ServedSession() {
    thread_local std::string session;
    return session;
}

}  // namespace orva::reference
