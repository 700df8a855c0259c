/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <string>

namespace orva::hidl {

// The key of every per-client table: the calling process id, ":" and the client's own number, so
// that the same number in two processes names two clients. Valid during a call from that client.
std::string MakeServiceId(int32_t clientId);

// The client number that a listener registration means, which clients send negated. The one
// number without a counterpart, INT32_MIN, stands for itself.
int32_t ListenerClientId(int32_t negatedClientId);

}  // namespace orva::hidl
