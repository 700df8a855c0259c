/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/File.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace orva::client {

namespace {

[[noreturn]] void fail(const std::string& what, const std::string& path) {
    throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), what + " " + path);
}

}  // namespace

SharedRegion readIntoRegion(const std::string& path, const std::string& regionName) {
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file || std::filesystem::is_directory(path)) {
        errno = file ? EISDIR : errno;
        fail("cannot read", path);
    }
    const uintmax_t size = std::filesystem::file_size(path);
    if (size == 0) {
        throw std::runtime_error(path + " is empty");
    }
    SharedRegion region(regionName, size);
    file.read(reinterpret_cast<char*>(region.data()), static_cast<std::streamsize>(size));
    if (static_cast<uintmax_t>(file.gcount()) != size) {
        fail("cannot read", path);
    }
    return region;
}

void writeFile(const std::string& path, const uint8_t* data, size_t size) {
    errno = 0;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    file.close();
    if (!file) {
        fail("cannot write", path);
    }
}

}  // namespace orva::client
