/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Identity.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

// Newer than some C libraries.
#ifndef SO_PEERPIDFD
#define SO_PEERPIDFD 77
#endif
#ifndef SYS_pidfd_open
#define SYS_pidfd_open 434
#endif

namespace android::hardware::socket {

namespace {

template <typename T>
bool ask(int socket, int option, T* answer) {
    socklen_t size = sizeof *answer;
    return getsockopt(socket, SOL_SOCKET, option, answer, &size) == 0;
}

// When a process was started; 0 when it is no more.
uint64_t startOf(pid_t pid) {
    const std::string path = "/proc/" + std::to_string(pid) + "/stat";
    const base::unique_fd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    char text[1024];
    const ssize_t length = file < 0 ? -1 : read(file, text, sizeof text - 1);
    if (length <= 0) {
        return 0;
    }
    text[length] = '\0';
    // The second field, a name in parentheses, may contain anything; the start is the 22nd.
    const char* at = strrchr(text, ')');
    for (int field = 2; at != nullptr && field < 22; ++field) {
        at = strchr(at + 1, ' ');
    }
    return at == nullptr ? 0 : strtoull(at + 1, nullptr, 10);
}

}  // namespace

bool identify(int socket, Identity* identity, base::unique_fd* process) {
    ucred credentials = {};
    if (!ask(socket, SO_PEERCRED, &credentials)) {
        return false;
    }
    int descriptor = -1;
    if (!ask(socket, SO_PEERPIDFD, &descriptor)) {
        descriptor = static_cast<int>(syscall(SYS_pidfd_open, credentials.pid, 0));
    }
    process->reset(descriptor);
    // Looked at while the descriptor, where there is one, is of the process that connected. If that
    // has ended, its number may be another's by now; but then the descriptor tells of the end, too.
    *identity = {credentials.pid, credentials.uid, startOf(credentials.pid)};
    return identity->started != 0;
}

bool isChannelOf(int descriptor, const Identity& maker) {
    int domain = 0;
    int type = 0;
    ucred credentials = {};
    return ask(descriptor, SO_DOMAIN, &domain) && domain == AF_UNIX &&
           ask(descriptor, SO_TYPE, &type) && type == SOCK_SEQPACKET &&
           ask(descriptor, SO_PEERCRED, &credentials) && credentials.pid == maker.pid &&
           credentials.uid == maker.uid;
}

}  // namespace android::hardware::socket
