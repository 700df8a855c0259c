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
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orva::client {

using android::base::unique_fd;

namespace {

constexpr size_t kPiece = 4 << 20;

[[noreturn]] void fail(const std::string& what, const std::string& path) {
    throw std::system_error(errno != 0 ? errno : EIO, std::generic_category(), what + " " + path);
}

size_t checkedSize(const struct stat& info, const std::string& path) {
    if (S_ISDIR(info.st_mode)) {
        throw std::runtime_error("cannot read " + path + ": it is a folder");
    }
    if (!S_ISREG(info.st_mode)) {
        throw std::runtime_error("cannot read " + path + ": it is no regular file");
    }
    if (info.st_size == 0) {
        throw std::runtime_error(path + " is empty");
    }
    return static_cast<size_t>(info.st_size);
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
    struct stat info = {};
    if (stat(path.c_str(), &info) != 0) {
        fail("cannot read", path);
    }
    return checkedSize(info, path);
}

std::vector<std::string> filesOf(const std::string& path) {
    namespace fs = std::filesystem;
    if (!fs::is_directory(path)) {
        return {path};
    }
    std::vector<std::string> files;
    for (const fs::directory_entry& entry : fs::directory_iterator(path)) {
        if (entry.is_regular_file() && entry.path().filename().string()[0] != '.') {
            files.push_back(entry.path());
        }
    }
    if (files.empty()) {
        throw std::runtime_error("there is no file in " + path);
    }
    std::sort(files.begin(), files.end());
    return files;
}

FileBytes::FileBytes(const std::string& path)
        : path_(path), file_(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat info = {};
    if (file_ < 0 || fstat(file_, &info) != 0) {
        fail("cannot read", path);
    }
    size_ = checkedSize(info, path);
    address_ = mmap(nullptr, size_, PROT_READ, MAP_PRIVATE, file_, 0);
    if (address_ == MAP_FAILED) {
        fail("cannot map", path);
    }
}

FileBytes::~FileBytes() {
    if (address_ != nullptr) {
        munmap(address_, size_);
    }
}

FileBytes::FileBytes(FileBytes&& other) noexcept
        : path_(std::move(other.path_)),
          file_(std::move(other.file_)),
          size_(other.size_),
          address_(std::exchange(other.address_, nullptr)) {}

void FileBytes::copyTo(uint8_t* target, const std::function<void(size_t)>& advance) const {
    for (size_t done = 0; done < size_;) {
        const ssize_t piece = TEMP_FAILURE_RETRY(pread(
                file_, target + done, std::min(kPiece, size_ - done), static_cast<off_t>(done)));
        if (piece <= 0) {
            errno = piece == 0 ? 0 : errno;
            fail("cannot read all of", path_);
        }
        done += static_cast<size_t>(piece);
        if (advance) {
            advance(static_cast<size_t>(piece));
        }
    }
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
