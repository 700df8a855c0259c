/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/un.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "common/UniqueFd.h"

namespace orva_bench {

// One packet of the floor: a record of fixed size and up to 64 descriptors.
struct FloorPacket {
    int64_t value;  // a status; in a request, the size of the input
};

template <size_t Count>
using Descriptors = std::array<orva::hidl::UniqueFd, Count>;

sockaddr_un floorAddress(const std::string& path);

// Both block; false when the other side has gone or sends something else.
bool sendPacket(int socket, const FloorPacket& packet, const int* descriptors = nullptr,
                size_t count = 0);
bool receivePacket(int socket, FloorPacket* packet, orva::hidl::UniqueFd* descriptors = nullptr,
                   size_t count = 0);

template <size_t Count>
bool receivePacket(int socket, FloorPacket* packet, Descriptors<Count>* descriptors) {
    return receivePacket(socket, packet, descriptors->data(), Count);
}

}  // namespace orva_bench
