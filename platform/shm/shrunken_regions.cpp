/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva_platform/SharedMemory.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

namespace orva_platform {

namespace {

// Everything below runs in a signal handler: system calls and the stack only.

std::atomic<size_t> replaced{0};
struct sigaction previous;
// /proc/self/maps, opened beforehand: there may be no descriptor left when it is needed. It is read
// from its beginning on, one thread at a time: the kernel then goes from mapping to mapping, and
// what other threads map meanwhile tears no line.
int maps = -1;
std::atomic_flag reading = ATOMIC_FLAG_INIT;

class MapsLock {
public:
    MapsLock() {
        while (reading.test_and_set(std::memory_order_acquire)) {
            sched_yield();
        }
    }
    ~MapsLock() { reading.clear(std::memory_order_release); }
    MapsLock(const MapsLock&) = delete;
    MapsLock& operator=(const MapsLock&) = delete;
};

void openMaps() {
    maps = open("/proc/self/maps", O_RDONLY | O_CLOEXEC);
}

// The parent's file goes on describing the parent, and its threads are not here to finish reading.
void reopenMaps() {
    close(maps);
    openMaps();
    reading.clear();
}

// One line of /proc/self/maps: "start-end perms offset device inode path".
struct MapsLine {
    uintptr_t start = 0;
    uintptr_t end = 0;
    bool shared = false;
    bool anonymous = false;
};

const char* parseHex(const char* text, uintptr_t* value) {
    *value = 0;
    for (;; ++text) {
        const char c = *text;
        const int digit = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
        if (digit < 0) {
            return text;
        }
        *value = *value << 4 | static_cast<uintptr_t>(digit);
    }
}

// An empty range when it is no such line.
MapsLine parseLine(const char* text) {
    MapsLine line;
    const char* const dash = parseHex(text, &line.start);
    if (*dash != '-' || line.start % static_cast<uintptr_t>(getpagesize()) != 0) {
        return {};
    }
    const char* const space = parseHex(dash + 1, &line.end);
    if (*space != ' ' || std::strlen(space) < 6 || space[5] != ' ' ||
        (space[4] != 's' && space[4] != 'p')) {
        return {};
    }
    line.shared = space[4] == 's';
    text = space;
    for (int field = 0; field < 3 && text != nullptr; ++field) {
        text = std::strchr(text + 1, ' ');
    }
    line.anonymous = text != nullptr && text[1] == '0';
    return line;
}

// The mapping around an address; an empty range when it was not found.
MapsLine findMapping(uintptr_t address) {
    char buffer[4096];
    size_t held = 0;
    MapsLine found;
    if (lseek(maps, 0, SEEK_SET) != 0) {
        return found;
    }
    for (;;) {
        const ssize_t got = read(maps, buffer + held, sizeof buffer - 1 - held);
        if (got <= 0) {
            break;
        }
        held += static_cast<size_t>(got);
        buffer[held] = '\0';
        char* start = buffer;
        while (char* newline = std::strchr(start, '\n')) {
            *newline = '\0';
            const MapsLine line = parseLine(start);
            if (line.start <= address && address < line.end) {
                found = line;
            }
            start = newline + 1;
        }
        held -= static_cast<size_t>(start - buffer);
        std::memmove(buffer, start, held);
        if (held == sizeof buffer - 1) {
            held = 0;  // A line this long is no memory file's.
        }
    }
    return found;
}

bool putZeros(uintptr_t start, uintptr_t end) {
    // What the peer's region was said to hold may be more than this machine has. Only what is
    // written to takes memory.
    return mmap(reinterpret_cast<void*>(start), end - start, PROT_READ | PROT_WRITE,
                MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE, -1, 0) != MAP_FAILED;
}

// What lies behind the touched page is gone as well, so one replacement serves the whole mapping.
// Nothing says how large the pages of a region are: those of a huge-page region can only be
// replaced as a whole, and are gone as a whole, too.
bool replace(const MapsLine& region, uintptr_t address) {
    constexpr uintptr_t kLargestPage = uintptr_t{16} << 30;
    for (auto page = static_cast<uintptr_t>(getpagesize()); page <= kLargestPage; page *= 2) {
        const uintptr_t start = address & ~(page - 1);
        if (start < region.start) {
            return false;
        }
        // A machine that promises no more memory than it has may give the touched page alone.
        if (putZeros(start, region.end) || (errno == ENOMEM && putZeros(start, start + page))) {
            return true;
        }
    }
    return false;
}

// Whatever a process shares has come from a peer, be it a memory file or another one. What is
// anonymous never raises this signal: another thread has been here first.
bool mend(uintptr_t address) {
    const MapsLock lock;
    const MapsLine region = findMapping(address);
    return region.anonymous || (region.shared && replace(region, address));
}

void onBusError(int, siginfo_t* info, void*) {
    const int error = errno;
    if (info->si_code == BUS_ADRERR && mend(reinterpret_cast<uintptr_t>(info->si_addr))) {
        ++replaced;
        constexpr char kNote[] = "a peer shrank a region that it shares; zeros stand in for it\n";
        if (write(STDERR_FILENO, kNote, sizeof kNote - 1) < 0) {
            // Nobody to tell.
        }
        errno = error;
        return;
    }
    // Not ours: the touch is repeated, and then meets whoever was there before.
    sigaction(SIGBUS, &previous, nullptr);
    errno = error;
}

}  // namespace

void surviveShrunkenRegions() {
    static const bool installed = [] {
        openMaps();
        pthread_atfork(nullptr, nullptr, reopenMaps);
        struct sigaction action = {};
        action.sa_sigaction = onBusError;
        action.sa_flags = SA_SIGINFO | SA_ONSTACK;
        sigemptyset(&action.sa_mask);
        return sigaction(SIGBUS, &action, &previous) == 0;
    }();
    (void)installed;
}

size_t shrunkenRegions() {
    return replaced;
}

}  // namespace orva_platform
