/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "client/io/File.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <system_error>

#include <android-base/unique_fd.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orva::client {

using android::base::unique_fd;

namespace {

constexpr size_t kPiece = 4 << 20;

[[noreturn]] void fail(const std::string& what, const std::string& path) {
    throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), what + " " + path);
}

bool writeAll(int fd, const uint8_t* data, size_t size) {
    while (size > 0) {
        const ssize_t written = TEMP_FAILURE_RETRY(write(fd, data, size));
        if (written < 0) {
            return false;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
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
    namespace fs = std::filesystem;
    std::error_code ignored;
    const fs::file_status before = fs::status(path, ignored);
    if (fs::exists(before) && !fs::is_regular_file(before)) {
        // A device or a pipe takes the bytes as they come; it must not be replaced.
        const unique_fd device(open(path.c_str(), O_WRONLY | O_CLOEXEC));
        if (device < 0 || !writeAll(device, data, size)) {
            fail("cannot write", path);
        }
        return;
    }
    // Through a link, not in its place.
    const fs::path target = fs::exists(before) ? fs::canonical(path, ignored) : fs::path(path);
    const fs::path draft = target.parent_path() / (".orva-" + std::to_string(getpid()));
    // Left by a process that had this one's number.
    unlink(draft.c_str());
    const unique_fd file(open(draft.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (file < 0) {
        fail("cannot write", path);
    }
    const bool modeKept =
            !fs::exists(before) || fchmod(file, static_cast<mode_t>(before.permissions())) == 0;
    if (!modeKept || !writeAll(file, data, size) || rename(draft.c_str(), target.c_str()) != 0) {
        const int cause = errno;
        unlink(draft.c_str());
        errno = cause;
        fail("cannot write", path);
    }
}

}  // namespace orva::client
