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
#include "debug/DumpTree.h"
#include "debug/DumpWriter.h"
#include "support/ResourceTest.h"

namespace orva::hidl {
namespace {

TEST(DumpTree, IsWrittenForProgramsAndForPeople) {
    DumpTree none = DumpTree::Counts(), list = DumpTree::List();
    none.Add("never", 0).Add("twice", 2);
    list.Add(DumpTree::Object().Add("id", std::string("a")).Add("known", std::optional(true)));
    list.Add(DumpTree::Object().AddSigned("status", -1).Add("known", std::nullopt));
    DumpTree tree = DumpTree::Object().AddSeconds("age_s", 1'500'000'000).Add("counts", none);
    tree.Add("items", list).Add("last", uint64_t{1}).Add("empty", DumpTree::List());
    EXPECT_EQ(
            "{\"age_s\":1.500,\"counts\":{\"never\":0,\"twice\":2},"
            "\"items\":[{\"id\":\"a\",\"known\":true},{\"status\":-1,\"known\":null}],"
            "\"last\":1,\"empty\":[]}",
            tree.Json());
    EXPECT_EQ(
            " age_s 1.500, last 1\n"
            "counts: twice 2\n"
            "items: 2\n"
            "   id \"a\", known true\n"
            "   status -1, known null\n"
            "empty: 0\n",
            tree.Lines());
}

TEST(DumpTree, QuotesWhatClientsWrite) {
    const std::string text("\"\\\n\033[2J\0\x7f\xc3\xa4", 11);
    EXPECT_EQ("{\"t\":\"\\\"\\\\\\u000a\\u001b[2J\\u0000\\u007f??\"}",
              DumpTree::Object().Add("t", text).Json());
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
    ASSERT_EQ(0, fcntl(sealed.Get(), F_ADD_SEALS, F_SEAL_WRITE));
    for (const int fd : {-1, ends.read.Get(), sealed.Get(), folder.Get(), device.Get()}) {
        EXPECT_FALSE(WriteDump(fd, "text")) << fd;
    }
}

}  // namespace
}  // namespace orva::hidl
