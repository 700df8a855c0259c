/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What a peer is made of, without a connection.
#include <gtest/gtest.h>
#include <sys/socket.h>

#include <orva/test/1.0/BnHwProbe.h>

#include "Probe.h"
#include "Stranger.h"
#include "socket/peer/ExportTable.h"
#include "socket/peer/Identity.h"
#include "socket/peer/Peer.h"
#include "support/Eventually.h"

namespace {

using namespace orva_test;
using orva::test::eventually;
using namespace android::hardware;
using namespace android::hardware::socket;
using android::base::unique_fd;

TEST(ExportTable, KeepsAnObjectUntilAllThatWasSentOfItIsReleasedAndNoLonger) {
    const sp<BHwBinder> object = new orva::test::V1_0::BnHwProbe(new Probe);
    ExportTable table;
    const uint64_t number = table.add(object);
    EXPECT_EQ(number, table.add(object));
    sp<BHwBinder> last;
    EXPECT_FALSE(table.release(number, 3, 0, &last)) << "more than were sent";
    EXPECT_FALSE(table.release(number + 1, 1, 0, &last)) << "of what was not";
    EXPECT_TRUE(table.release(number, 1, 0, &last));
    EXPECT_EQ(nullptr, last);
    // The last release mentions a message that has yet to come.
    EXPECT_TRUE(table.release(number, 1, 1, &last));
    EXPECT_EQ(nullptr, last);
    EXPECT_FALSE(table.release(number, 1, 0, &last)) << "it has none";
    EXPECT_EQ(object, table.mentioned(number));
    EXPECT_TRUE(table.empty());
    EXPECT_EQ(nullptr, table.find(number));
    EXPECT_NE(number, table.add(object)) << "a number is used once";
}

TEST(Identity, TellsWhoseAChannelIs) {
    SocketPair handing;
    Stranger stranger([&] {
        const SocketPair made;
        const int lent = made.theirs.get();
        sendPacket(handing.theirs, "", 1, &lent, 1, TimeLimit(1000));
    });
    EXPECT_TRUE(stranger.isReal());
    const pid_t maker = stranger.pid();
    EXPECT_TRUE(stranger.succeeded());
    char byte;
    size_t size;
    std::vector<unique_fd> received;
    ASSERT_EQ(Io::kDone, receivePacket(handing.ours, &byte, 1, &size, &received, Wait::kNo));
    const SocketPair own;
    int streams[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM, 0, streams));
    const unique_fd stream(streams[0]);
    const unique_fd otherEnd(streams[1]);
    const struct {
        int channel;
        pid_t pid;
        bool its;
    } cases[] = {{own.ours, getpid(), true},        {received.at(0), maker, true},
                 {received.at(0), getpid(), false}, {own.ours, maker, false},
                 {stream, getpid(), false},         {STDOUT_FILENO, getpid(), false}};
    for (const auto& [channel, pid, its] : cases) {
        EXPECT_EQ(its, isChannelOf(channel, {pid, getuid(), 1}));
    }
    EXPECT_FALSE(isChannelOf(own.ours, {getpid(), getuid() + 1, 1}));
}

TEST(Identity, IsOfTheProcessThatLives) {
    const SocketPair own;
    Identity self;
    unique_fd process;
    ASSERT_TRUE(identify(own.ours, &self, &process));
    EXPECT_EQ(getpid(), self.pid);
    EXPECT_EQ(getuid(), self.uid);
    EXPECT_NE(0u, self.started);
    Identity later = self;
    ++later.started;
    EXPECT_FALSE(later == self) << "another process of that number";
}

// As when a process is gone before it has been welcomed.
TEST(Connection, IsLetGoOfThoughItWasOpenedAfterItsPeersEnd) {
    SocketPair sockets;
    const auto peer = std::make_shared<Peer>(Identity{1, getuid(), 1});
    auto connection =
            std::make_shared<Connection>(std::move(sockets.ours), peer, Connection::Use::kByPeer);
    peer->end(Peer::End::kClosed);
    connection->shutDown();
    ASSERT_TRUE(connection->open());
    connection->ready();
    const std::weak_ptr<Connection> left = connection;
    connection.reset();
    EXPECT_TRUE(eventually([&] { return left.expired(); })) << "a thread may be at it";
}

}  // namespace
