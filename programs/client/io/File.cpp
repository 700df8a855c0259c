/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/File.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace orva::client {

namespace {

constexpr size_t kPiece = 4 << 20;

[[noreturn]] void fail(const std::string& what, const std::string& path) {
    throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), what + " " + path);
}

}  // namespace

size_t sizeOfFile(const std::string& path) {
    errno = 0;
    if (std::filesystem::is_directory(path)) {
        errno = EISDIR;
        fail("cannot read", path);
    }
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(path, error);
    if (error) {
        errno = error.value();
        fail("cannot read", path);
    }
    if (size == 0) {
        throw std::runtime_error(path + " is empty");
    }
    return size;
}

SharedRegion readIntoRegion(const std::string& path, const std::string& regionName,
                            const std::function<void(size_t)>& advance) {
    const size_t size = sizeOfFile(path);
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        fail("cannot read", path);
    }
    SharedRegion region(regionName, size);
    for (size_t done = 0; done < size;) {
        const size_t piece = std::min(kPiece, size - done);
        if (!file.read(reinterpret_cast<char*>(region.data() + done),
                       static_cast<std::streamsize>(piece))) {
            fail("cannot read", path);
        }
        done += piece;
        if (advance) {
            advance(piece);
        }
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
