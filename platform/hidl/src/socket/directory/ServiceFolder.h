/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <set>
#include <string>

#include <sys/types.h>

#include <android-base/unique_fd.h>
#include <utils/Errors.h>

namespace android::hardware::socket {

// The folder that services stand in, one socket each: opened, made when missing, and known to be
// this user's alone.
class ServiceFolder {
public:
    // OK; otherwise why it cannot be used, logged.
    status_t open(const std::string& path);

    // The file of an instance; empty for names that cannot be one.
    static std::string fileOf(const std::string& interface, const std::string& instance);
    // The other way round; false for files that are no instance.
    static bool nameOf(const std::string& file, std::string* interface, std::string* instance);

    // Keeps other processes from registering until it is let go of.
    base::unique_fd lock() const;
    // A socket bound to a file, whose place a dead server's socket may have held, and what tells
    // the file from a later one of the same name. ALREADY_EXISTS when a living one holds it;
    // otherwise what the system said. The folder must be locked.
    status_t bind(const std::string& file, base::unique_fd* socket, ino_t* inode) const;
    // A socket connected to a file; NAME_NOT_FOUND when nobody serves it, TIMED_OUT when whoever
    // does is not accepting, in time or, when not told to wait, at once.
    status_t connect(const std::string& file, bool wait, base::unique_fd* socket) const;
    // Removes a file if it is still that one.
    void remove(const std::string& file, ino_t inode) const;
    std::set<std::string> files() const;

private:
    base::unique_fd mFolder;
};

}  // namespace android::hardware::socket
