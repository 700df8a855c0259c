/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "HidlSocket"

#include "ServiceFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <log/log.h>

#include "../wire/Packet.h"

namespace android::hardware::socket {

namespace {

constexpr char kSeparator = '#';
constexpr timeval kConnectLimit = {5, 0};
constexpr TimeLimit kLockLimit{5000};
constexpr int kLockPauseMs = 5;

// The folder may lie deeper than a socket's address is long, so files are named through it.
std::string pathOf(int folder, const std::string& file) {
    return "/proc/self/fd/" + std::to_string(folder) + "/" + file;
}

bool addressOf(const std::string& path, sockaddr_un* address) {
    *address = {};
    address->sun_family = AF_UNIX;
    if (path.size() >= sizeof address->sun_path) {
        return false;
    }
    std::memcpy(address->sun_path, path.c_str(), path.size() + 1);
    return true;
}

// 0 when there is no such file.
ino_t inodeOf(int folder, const std::string& file) {
    struct stat info;
    return fstatat(folder, file.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 ? info.st_ino : 0;
}

}  // namespace

status_t ServiceFolder::open(const std::string& path) {
    if (mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) {
        const int error = errno;
        ALOGE("cannot make the service folder %s: %s", path.c_str(), strerror(error));
        return -error;
    }
    // In a folder that all may write to, such as /tmp, another user may have put a link there
    // first.
    struct stat info;
    const bool link = lstat(path.c_str(), &info) == 0 && S_ISLNK(info.st_mode);
    if (link && info.st_uid != geteuid()) {
        ALOGE("the service folder %s is refused: it is another user's link", path.c_str());
        return PERMISSION_DENIED;
    }
    mFolder.reset(
            ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | (link ? 0 : O_NOFOLLOW)));
    if (mFolder < 0 || fstat(mFolder, &info) != 0) {
        const int error = errno;
        ALOGE("cannot open the service folder %s: %s", path.c_str(), strerror(error));
        return -error;
    }
    if (info.st_uid != geteuid() || (info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        ALOGE("the service folder %s is refused: others own it or may write to it", path.c_str());
        return PERMISSION_DENIED;
    }
    return NO_ERROR;
}

std::string ServiceFolder::fileOf(const std::string& interface, const std::string& instance) {
    const std::string file = interface + kSeparator + instance;
    const bool fits = !interface.empty() && !instance.empty() && interface[0] != '.' &&
                      file.find('/') == std::string::npos &&
                      std::count(file.begin(), file.end(), kSeparator) == 1 &&
                      file.find('\0') == std::string::npos;
    return fits ? file : std::string();
}

bool ServiceFolder::nameOf(const std::string& file, std::string* interface, std::string* instance) {
    const size_t at = file.find(kSeparator);
    if (file.empty() || file[0] == '.' || at == std::string::npos) {
        return false;
    }
    *interface = file.substr(0, at);
    *instance = file.substr(at + 1);
    return true;
}

base::unique_fd ServiceFolder::lock() const {
    base::unique_fd lock(openat(mFolder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Whoever holds it is done in no time, or does not mean to be.
    const Deadline deadline(kLockLimit);
    while (flock(lock, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK || deadline.over()) {
            ALOGE("cannot lock the service folder: %s", strerror(errno));
            return {};
        }
        poll(nullptr, 0, kLockPauseMs);
    }
    return lock;
}

status_t ServiceFolder::bind(const std::string& file, base::unique_fd* socket, ino_t* inode) const {
    sockaddr_un address;
    if (!addressOf(pathOf(mFolder, file), &address)) {
        ALOGE("%s is too long a name for a service", file.c_str());
        return BAD_VALUE;
    }
    base::unique_fd probe;
    const status_t taken = connect(file, false, &probe);
    if (taken != NAME_NOT_FOUND) {
        return taken == NO_ERROR || taken == TIMED_OUT ? ALREADY_EXISTS : taken;
    }
    unlinkat(mFolder, file.c_str(), 0);
    socket->reset(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (*socket < 0 ||
        ::bind(*socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        fchmodat(mFolder, file.c_str(), 0600, 0) != 0) {
        const int error = errno;
        ALOGE("cannot make the socket %s: %s", file.c_str(), strerror(error));
        return -error;
    }
    *inode = inodeOf(mFolder, file);
    return NO_ERROR;
}

status_t ServiceFolder::connect(const std::string& file, bool wait, base::unique_fd* socket) const {
    sockaddr_un address;
    if (!addressOf(pathOf(mFolder, file), &address)) {
        return NAME_NOT_FOUND;
    }
    socket->reset(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | (wait ? 0 : SOCK_NONBLOCK), 0));
    if (*socket < 0) {
        return -errno;
    }
    setsockopt(*socket, SOL_SOCKET, SO_SNDTIMEO, &kConnectLimit, sizeof kConnectLimit);
    if (TEMP_FAILURE_RETRY(::connect(*socket, reinterpret_cast<const sockaddr*>(&address),
                                     sizeof address)) == 0) {
        return NO_ERROR;
    }
    if (errno == ENOENT || errno == ECONNREFUSED) {
        return NAME_NOT_FOUND;
    }
    return errno == EAGAIN ? static_cast<status_t>(TIMED_OUT) : -errno;
}

void ServiceFolder::remove(const std::string& file, ino_t inode) const {
    if (inodeOf(mFolder, file) == inode) {
        unlinkat(mFolder, file.c_str(), 0);
    }
}

std::set<std::string> ServiceFolder::files() const {
    std::set<std::string> files;
    std::error_code none;
    for (const auto& entry : std::filesystem::directory_iterator(pathOf(mFolder, ""), none)) {
        files.insert(entry.path().filename());
    }
    return files;
}

}  // namespace android::hardware::socket
