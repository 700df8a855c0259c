/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "client/lib/SharedRegion.h"

namespace orva::client {

// All throw std::system_error that names the file. An empty file counts as an error of the caller:
// nothing here has a use for one.
size_t sizeOfFile(const std::string& path);
// `advance` is told, as it goes, of bytes that have been read.
SharedRegion readIntoRegion(const std::string& path, const std::string& regionName,
                            const std::function<void(size_t)>& advance = nullptr);
// The file has all of the bytes, or is as it was.
void writeFile(const std::string& path, const uint8_t* data, size_t size);

}  // namespace orva::client
