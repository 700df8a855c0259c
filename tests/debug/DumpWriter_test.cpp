/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "debug/DumpWriter.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "common/UniqueFd.h"
#include "support/ResourceTest.h"

namespace orva::hidl {
namespace {

using DumpWriter = ::orva::test::ResourceTest;

struct Ends {
    UniqueFd read, write;
};

Ends Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        abort();
    }
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

Ends Sockets() {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        abort();
    }
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}

UniqueFd MemoryFile() {
    return UniqueFd(memfd_create("file", MFD_CLOEXEC | MFD_ALLOW_SEALING));
}

std::string ReadAll(int fd) {
    std::string text;
    char piece[65536];
    for (ssize_t size; (size = read(fd, piece, sizeof(piece))) > 0;) {
        text.append(piece, static_cast<size_t>(size));
    }
    return text;
}

// No part of it is like another.
const std::string kLongText = [] {
    std::string text;
    while (text.size() < 1'000'000) {
        text += std::to_string(text.size()) + " ";
    }
    return text;
}();

TEST_F(DumpWriter, WritesMoreThanTheOtherEndTakesAtOnce) {
    for (const auto& make : {Pipe, Sockets}) {
        Ends ends = make();
        std::string received;
        std::thread reader([&] { received = ReadAll(ends.read.Get()); });
        EXPECT_TRUE(WriteDump(ends.write.Get(), kLongText));
        ends.write = UniqueFd();
        reader.join();
        EXPECT_TRUE(kLongText == received);
    }
}

TEST_F(DumpWriter, WaitsForNobodyForEver) {
    for (const auto& make : {Pipe, Sockets}) {
        Ends ends = make();
        EXPECT_TRUE(WriteDump(ends.write.Get(), "short"));
        EXPECT_FALSE(WriteDump(ends.write.Get(), kLongText));
        // Nor where it is full already, and the other end polls as writable now and then.
        EXPECT_FALSE(WriteDump(ends.write.Get(), "short"));
    }
}

TEST_F(DumpWriter, RaisesNoSignal) {
    for (const auto& make : {Pipe, Sockets}) {
        Ends ends = make();
        ends.read = UniqueFd();
        EXPECT_FALSE(WriteDump(ends.write.Get(), "text"));
    }
    const UniqueFd file = MemoryFile();
    rlimit before;
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
    rlimit small = before;
    small.rlim_cur = 8192;
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
    EXPECT_FALSE(WriteDump(file.Get(), kLongText));
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &before));
    // None is left to come once the thread takes signals again.
    sigset_t pending, blocked;
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        EXPECT_EQ(0, sigismember(&pending, signal));
        EXPECT_EQ(0, sigismember(&blocked, signal));
    }
}

TEST_F(DumpWriter, RefusesWhatCannotTakeIt) {
    Ends ends = Pipe();
    const UniqueFd sealed = MemoryFile(), folder(open("/", O_DIRECTORY | O_CLOEXEC)),
                   device(open("/dev/null", O_WRONLY | O_CLOEXEC));
    ASSERT_EQ(0, fcntl(sealed.Get(), F_ADD_SEALS, F_SEAL_WRITE));
    for (const int fd : {-1, ends.read.Get(), sealed.Get(), folder.Get(), device.Get()}) {
        EXPECT_FALSE(WriteDump(fd, "text")) << fd;
    }
}

}  // namespace
}  // namespace orva::hidl
