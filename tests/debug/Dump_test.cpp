/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// How a dump's text is made fit to be seen, and written to whatever descriptor a client gives.
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "common/UniqueFd.h"
#include "debug/DumpText.h"
#include "debug/DumpWriter.h"
#include "support/ResourceTest.h"

namespace orva::hidl {
namespace {

std::string Written(bool json, const std::string& text = "a") {
    DumpText dump(json);
    dump.Open("", '{').AddSeconds("age_s", 1'500'000'000).Add("last", uint64_t{1});
    dump.Open("items", '[').Open("", '{').Add("id", text).Add("n", uint64_t{2}).Close();
    dump.Open("", '{').AddSigned("status", -1).Close().Close();
    return dump.Open("empty", '[').Close().Open("more", '{').Add("k", "v").Close().Close().Text();
}

TEST(DumpText, IsForProgramsAndForPeople) {
    EXPECT_EQ(
            "{\"age_s\":1.500,\"last\":1,\"items\":[{\"id\":\"a\",\"n\":2},{\"status\":-1}],"
            "\"empty\":[],\"more\":{\"k\":\"v\"}}",
            Written(true));
    EXPECT_EQ(
            "age_s 1.500 last 1\n"
            "  items\n"
            "    id \"a\" n 2\n"
            "    status -1\n"
            "  empty\n"
            "  more k \"v\"",
            Written(false));
}

TEST(DumpText, QuotesWhatClientsWrite) {
    const std::string text("\"\\\n\033[2J\0\x7f\xc3\xa4", 11);
    for (const bool json : {true, false}) {
        EXPECT_NE(std::string::npos,
                  Written(json, text).find("\"\\\"\\\\\\u000a\\u001b[2J\\u0000\\u007f??\""));
    }
}

struct Ends {
    UniqueFd read, write;
};
Ends Connect(bool sockets) {
    int ends[2] = {-1, -1};
    EXPECT_EQ(0, sockets ? socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends)
                         : pipe2(ends, O_CLOEXEC));
    return {UniqueFd(ends[0]), UniqueFd(ends[1])};
}
UniqueFd MemoryFile() {
    return UniqueFd(memfd_create("file", MFD_CLOEXEC | MFD_ALLOW_SEALING));
}

// No part of it is like another.
const std::string kLongText = [] {
    std::string text;
    while (text.size() < 1'000'000) {
        text += std::to_string(text.size()) + " ";
    }
    return text;
}();

using DumpWriter = ::orva::test::ResourceTest;

TEST_F(DumpWriter, WritesMoreThanTheOtherEndTakesAtOnce) {
    for (const bool sockets : {false, true}) {
        Ends ends = Connect(sockets);
        std::string received;
        std::thread reader([&] {
            char piece[65536];
            for (ssize_t size; (size = read(ends.read.Get(), piece, sizeof(piece))) > 0;) {
                received.append(piece, static_cast<size_t>(size));
            }
        });
        EXPECT_TRUE(WriteDump(ends.write.Get(), kLongText));
        ends.write = UniqueFd();
        reader.join();
        EXPECT_TRUE(kLongText == received);
    }
}

TEST_F(DumpWriter, NeitherWaitsForEverNorRaisesASignal) {
    for (const bool sockets : {false, true}) {
        Ends ends = Connect(sockets);
        EXPECT_TRUE(WriteDump(ends.write.Get(), "short"));
        EXPECT_FALSE(WriteDump(ends.write.Get(), kLongText));
        // Nor where it is full already, and the other end polls as writable now and then.
        EXPECT_FALSE(WriteDump(ends.write.Get(), "short"));
        ends.read = UniqueFd();
        EXPECT_FALSE(WriteDump(ends.write.Get(), "short"));
    }
    const UniqueFd file = MemoryFile();
    rlimit before;
    ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &before));
    const rlimit small = {8192, before.rlim_max};
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &small));
    EXPECT_FALSE(WriteDump(file.Get(), kLongText));
    ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &before));
    // None is left to come once the thread takes signals again.
    sigset_t pending, blocked;
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        EXPECT_EQ(0, sigismember(&pending, signal) + sigismember(&blocked, signal));
    }
}

TEST_F(DumpWriter, RefusesWhatCannotTakeIt) {
    const Ends ends = Connect(false);
    const UniqueFd sealed = MemoryFile(), folder(open("/", O_DIRECTORY | O_CLOEXEC)),
                   device(open("/dev/null", O_WRONLY | O_CLOEXEC));
    // One of a file system, which might be the client's own.
    char name[] = "/var/tmp/orva_dump_XXXXXX";
    const UniqueFd file(mkostemp(name, O_CLOEXEC));
    ASSERT_EQ(0, unlink(name));
    ASSERT_EQ(0, fcntl(sealed.Get(), F_ADD_SEALS, F_SEAL_WRITE));
    for (const int fd :
         {-1, ends.read.Get(), sealed.Get(), folder.Get(), device.Get(), file.Get()}) {
        EXPECT_FALSE(WriteDump(fd, "text")) << fd;
    }
}

}  // namespace
}  // namespace orva::hidl
