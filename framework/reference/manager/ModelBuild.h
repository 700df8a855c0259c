/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <vector>

#include <orva/MappedBuffer.h>
#include <orva/reference/Cancellation.h>

namespace orva::reference {

// ModelManager::BuildModel. Throws a std::exception where a source is refused or there is no room.
int32_t BuildModels(int32_t buildParam, const std::vector<MappedBuffer>& sources,
                    const MappedBuffer& output, uint32_t& outputSize, Cancellation& cancellation);

}  // namespace orva::reference
