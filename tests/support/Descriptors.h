/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>

#include <cstdlib>
#include <memory>
#include <set>

namespace orva_test {

// The numbers of this process's open descriptors.
inline std::set<int> openDescriptors() {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), closedir);
    std::set<int> descriptors;
    while (const dirent* entry = readdir(folder.get())) {
        const int descriptor = static_cast<int>(strtol(entry->d_name, nullptr, 10));
        if (entry->d_name[0] != '.' && descriptor != dirfd(folder.get())) {
            descriptors.insert(descriptor);
        }
    }
    return descriptors;
}

inline bool isOpen(int descriptor) {
    return fcntl(descriptor, F_GETFD) >= 0;
}
inline bool isCloseOnExec(int descriptor) {
    const int flags = fcntl(descriptor, F_GETFD);
    return flags >= 0 && (flags & FD_CLOEXEC) != 0;
}

}  // namespace orva_test
