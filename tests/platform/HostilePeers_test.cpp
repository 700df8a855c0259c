/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What a client that keeps to no rule can do to a server, and a server to its client: lose its own
// connection.
#include <atomic>
#include <functional>
#include <thread>

#include <poll.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <linux/android/binder.h>
#include <linux/sockios.h>
#include <orva/test/1.0/BpHwProbe.h>

#include "Stranger.h"
#include "TransportTest.h"

namespace {

using namespace orva_test;
using namespace android::hardware::socket;
using android::base::unique_fd;
using orva::test::LogCapture;
using orva::test::V1_0::BpHwProbe;

// Waits for one more answer than there were before, and leaves them all unread.
bool answerCame(int socket, int* unread) {
    const int before = *unread;
    pollfd end = {socket, POLLRDHUP, 0};
    EXPECT_TRUE(eventually([&] {
        return ioctl(socket, SIOCINQ, unread) != 0 || *unread > before || poll(&end, 1, 0) != 0;
    }));
    return *unread > before;
}

template <typename Method>
WireMessage call(Method method) {
    return recordOf<BpHwProbe>(method);
}
WireMessage ping() {
    return call([](BpHwProbe& probe) { return probe.ping(); });
}
WireMessage hold() {
    return call([](BpHwProbe& probe) { return probe.hold(new Probe); });
}
// The server calls back while it serves this.
WireMessage callBack() {
    return call([](BpHwProbe& probe) {
        return probe.caller(new Probe, [](int32_t, int32_t, uint32_t) {});
    });
}
// The first packet of a call of several.
WireMessage half() {
    WireMessage message = ping();
    message.header().buffersSize = 2 * kPacketSize;
    message.bytes.resize(kPacketSize);
    return message;
}
// As if the peer sent ever new objects, and we had to keep them all.
WireMessage manyObjects(uint32_t count) {
    WireMessage one = hold();
    const flat_binder_object object = one.object<flat_binder_object>(0);
    WireMessage flood;
    flood.bytes.resize(sizeof(MessageHeader) + count * (sizeof object + sizeof(uint64_t)));
    flood.header() = one.header();
    flood.header().dataSize = static_cast<uint32_t>(count * sizeof object);
    flood.header().objectCount = count;
    for (uint32_t i = 0; i < count; ++i) {
        flood.offsets()[i] = i * sizeof object;
        flood.object<flat_binder_object>(i) = object;
        flood.object<flat_binder_object>(i).binder = i + 1;
    }
    return flood;
}

class HostilePeers : public TransportTest {
protected:
    void SetUp() override {
        TransportTest::SetUp();
        serve("2", "500");  // The reply limit in milliseconds.
    }
    void TearDown() override {
        expectOk(mProbe->hold(nullptr));
        expectNothingLeft();
        TransportTest::TearDown();
    }
};

TEST_F(HostilePeers, LoseTheirConnectionAndNothingElse) {
    const struct {
        const char* what;
        void (*act)(RawClient& client);
    } cases[] = {
            {"garbage on the connection",
             [](auto& client) { ::send(client.link, "garbage", 7, 0); }},
            {"a call on the connection", [](auto& client) { sendRaw(client.link, ping()); }},
            {"half a message on the connection",
             [](auto& client) { sendRaw(client.link, half()); }},
            {"a release of what it does not hold",
             [](auto& client) { client.control(MessageKind::kRelease, 4711, 1); }},
            {"the same with an answer",
             [](auto& client) {
                 client.call(callBack());
                 EXPECT_EQ("call", client.next());
                 WireMessage message = ping();
                 message.header().kind = MessageKind::kReply;
                 message.header().target = 4711;
                 message.header().code = 1;
                 client.call(std::move(message));
             }},
            {"a channel that is no socket",
             [](auto& client) { client.control(MessageKind::kOpenChannel, 0, 0, 1); }},
            {"garbage on a channel", [](auto& client) { ::send(client.channel, "garbage", 7, 0); }},
            {"a reply that nobody waits for",
             [](auto& client) {
                 WireMessage message = ping();
                 message.header().kind = MessageKind::kReply;
                 client.call(std::move(message));
             }},
            {"254 descriptors, over two packets",
             [](auto& client) {
                 client.call(half(), 127);
                 client.call(half(), 127);
             }},
            {"253 descriptors without a place", [](auto& client) { client.call(ping(), 253); }},
            {"an object of ours that it does not hold",
             [](auto& client) {
                 WireMessage message = hold();
                 message.object<flat_binder_object>(0).hdr.type = BINDER_TYPE_HANDLE;
                 client.call(std::move(message));
             }},
            {"calls whose replies it never reads",
             [](auto& client) {
                 int unread = 0;
                 while (client.call(ping()) && answerCame(client.channel, &unread)) {
                 }
             }},
            {"calls in place of an answer",
             [](auto& client) {
                 client.call(callBack());
                 EXPECT_EQ("call", client.next());
                 while (client.call(ping()) && client.next() != "end") {
                 }
             }},
    };
    for (const auto& each : cases) {
        // Whoever does not wait to be cut off leaves amid all this.
        for (const bool waits : {true, false}) {
            SCOPED_TRACE(each.what);
            Stranger stranger([&] {
                RawClient client(socketOf());
                each.act(client);
                EXPECT_TRUE(!waits || (client.isEnded() && client.isChannelEnded()));
            });
            expectOk(mProbe->ping());  // Another client is served meanwhile.
            EXPECT_TRUE(stranger.succeeded());
        }
        expectNothingLeft();
    }
}

// What is refused to whom goes too far, and leaves him all else.
TEST_F(HostilePeers, AreRefusedWhatIsTooMuch) {
    const PeerProcess server("frugal", "8", "20000", "0", "4");
    Stranger stranger([&] {
        RawClient client(socketOf("frugal"));
        const auto answerTo = [&](WireMessage message) {
            const size_t descriptors = message.descriptors.size();
            client.call(std::move(message), descriptors);
            return client.next();
        };
        EXPECT_EQ("reply -2147483646", answerTo(manyObjects(5)));
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ("release", client.nextNotice());
        }
        std::vector<unique_fd> channels(4);  // One more than there may be.
        for (unique_fd& channel : channels) {
            channel = client.openChannel();
        }
        EXPECT_EQ("end", RawClient::nextOn(channels.back()));
        // What is half sent counts, too.
        WireMessage begun = half();
        begun.header().descriptors = 3;
        sendRaw(channels[0], begun, 3);
        EXPECT_EQ("reply 0", answerTo(ping())) << "and has been looked at";
        const auto receive = [](int descriptors) {
            return call([=](BpHwProbe& probe) {
                return probe.receive(partOf(descriptors, 0), [](int32_t, int32_t, bool) {});
            });
        };
        EXPECT_EQ("reply 0", answerTo(receive(1)));
        EXPECT_EQ("reply -2147483646", answerTo(receive(2))) << "five";
        channels.clear();
        EXPECT_TRUE(eventually([&] { return answerTo(receive(4)) == "reply 0"; }));
        std::vector<std::unique_ptr<RawClient>> more(4);
        for (auto& each : more) {
            each = std::make_unique<RawClient>(socketOf("frugal"));
        }
        EXPECT_EQ(0u, more.back()->root);
    });
    EXPECT_TRUE(stranger.succeeded());
}

TEST_F(HostilePeers, LeaveNoDescriptorWhereTheirObjectIsHeld) {
    EXPECT_TRUE(Stranger([&] {
                    RawClient client(socketOf());
                    client.call(hold());
                    EXPECT_EQ("reply 0", client.next());
                }).succeeded());
    const std::string descriptors = mHeld.substr(mHeld.rfind(','));
    EXPECT_TRUE(eventually([&] {
        const std::string held = resources();
        return held.substr(held.rfind(',')) == descriptors;
    })) << resources()
        << "; at first " << mHeld;
}

// A process is at its end when it ends, though another has its sockets; and the next of its number
// is another, which begins with nothing.
TEST_F(HostilePeers, EndWithTheirProcess) {
    pid_t number = 0;
    std::vector<unique_fd> kept;
    for (int life = 0; life < 2; ++life) {
        kept.emplace_back(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
        Stranger stranger(
                [&] {
                    RawClient client(unique_fd(dup(kept.back())), socketOf());
                    client.call(hold());
                    EXPECT_EQ("reply 0", client.next());
                },
                number);
        if (!stranger.isReal()) {
            GTEST_SKIP() << "no process of a number of choice on this machine";
        }
        number = stranger.pid();
        EXPECT_TRUE(stranger.succeeded());
        // What it left the server to hold is dead. Not asked before the second life begins, so that
        // this meets the end of the first.
        if (life == 1) {
            for (const unique_fd& socket : kept) {
                pollfd end = {socket, POLLRDHUP, 0};
                EXPECT_EQ(1, poll(&end, 1, 20000));
            }
        }
    }
    expectOk(mProbe->hold(nullptr));
    expectNothingLeft();
}

// Whoever hands over a listener is told at once when it could never be called.
TEST_F(HostilePeers, HandOverNoObjectWithoutRoomForAChannelToIt) {
    rlimit before;
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, nullptr, &before));
    int ready[2];
    int go[2];
    ASSERT_EQ(0, pipe(ready));
    ASSERT_EQ(0, pipe(go));
    Stranger stranger([&] {
        RawClient client(socketOf());
        client.call(ping());
        EXPECT_EQ("reply 0", client.next());
        EXPECT_EQ(1, write(ready[1], "", 1));
        char byte;
        EXPECT_EQ(1, read(go[0], &byte, 1));
        client.call(hold());
        EXPECT_EQ("reply -2147483646", client.next()) << "FAILED_TRANSACTION";
        client.call(ping());
        EXPECT_EQ("reply 0", client.next());
    });
    char byte;
    ASSERT_EQ(1, read(ready[0], &byte, 1));
    const std::filesystem::directory_iterator open("/proc/" + std::to_string(mServer->pid()) +
                                                   "/fd");
    const rlimit none = {static_cast<rlim_t>(std::distance(open, {})), before.rlim_max};
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &none, nullptr));
    ASSERT_EQ(1, write(go[1], "", 1));
    EXPECT_TRUE(stranger.succeeded());
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &before, nullptr));
    for (const int end : {ready[0], ready[1], go[0], go[1]}) {
        close(end);
    }
}

// A client that left and came back is called over what it has now, though the server has yet to see
// the end of what it had.
TEST_F(HostilePeers, AreCalledOverTheConnectionThatTheyCameBackOn) {
    Stranger stranger([this] {
        const RawClient before(socketOf());
        EXPECT_EQ(0, shutdown(before.link, SHUT_RD));  // Takes nothing, and nothing tells of it.
        RawClient client(socketOf());
        client.call(hold());
        EXPECT_EQ("reply 0", client.next());
    });
    EXPECT_TRUE(stranger.succeeded());
}

// Nobody's call waits for them: not where they leave messages half sent, nor where they let all
// threads wait for their answers.
TEST_F(HostilePeers, KeepNoThreadByTheirSilence) {
    const PeerProcess server("patient", "2", "60000", "4");
    const auto start = std::chrono::steady_clock::now();
    const auto silent = [&] {
        RawClient client(socketOf("patient"));
        std::vector<unique_fd> channels(30);
        for (unique_fd& channel : channels) {
            channel = client.openChannel();
            sendRaw(channel, half());
        }
        client.call(callBack());
        EXPECT_EQ("call", client.next()) << "which is never answered";
        pause();
    };
    const Stranger first(silent);
    const Stranger second(silent);
    const Stranger third(silent);
    const sp<IProbe> probe = IProbe::getService("patient");
    ASSERT_NE(nullptr, probe);
    for (int i = 0; i < 20; ++i) {
        expectOk(probe->ping());
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

// Where they hold all threads there are, who does nothing else still comes, pings, dumps and goes.
TEST_F(HostilePeers, HoldUpNoEndsPingsOrDumps) {
    const PeerProcess server("held", "2", "60000", "0");
    const sp<IProbe> probe = IProbe::getService("held");
    int ready[2];
    ASSERT_EQ(0, pipe(ready));
    std::vector<std::unique_ptr<Stranger>> silent(2);
    for (auto& each : silent) {
        each = std::make_unique<Stranger>([&] {
            RawClient client(socketOf("held"));
            client.call(callBack());
            EXPECT_EQ("call", client.next()) << "which is never answered";
            EXPECT_EQ(1, write(ready[1], "", 1));
            pause();
        });
        char byte;
        EXPECT_EQ(1, read(ready[0], &byte, 1));
    }
    const unique_fd kept(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    EXPECT_TRUE(Stranger([&] { RawClient(unique_fd(dup(kept)), socketOf("held")); }).succeeded());
    pollfd end = {kept, POLLRDHUP, 0};
    EXPECT_EQ(1, poll(&end, 1, 20000)) << "is the server's, for the process has ended";
    // A call of another kind waits, and is served when a thread is free.
    std::atomic<bool> served{false};
    std::thread other([&] {
        expectOk(probe->hold(nullptr));
        served = true;
    });
    for (int i = 0; i < 3; ++i) {
        expectOk(probe->ping());
        expectOk(probe->debug(nullptr, {}));
    }
    EXPECT_FALSE(served);
    silent.front().reset();
    other.join();
    close(ready[0]);
    close(ready[1]);
}

TEST_F(HostilePeers, AreRefusedAloneWithoutADescriptorLeft) {
    rlimit before;
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, nullptr, &before));
    const std::filesystem::directory_iterator open("/proc/" + std::to_string(mServer->pid()) +
                                                   "/fd");
    const rlimit none = {static_cast<rlim_t>(std::distance(open, {})) + 3, before.rlim_max};
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &none, nullptr));
    EXPECT_TRUE(Stranger([&] {
                    std::vector<std::unique_ptr<RawClient>> clients(30);
                    for (auto& client : clients) {
                        client = std::make_unique<RawClient>(socketOf());
                    }
                    EXPECT_EQ(0u, clients.back()->root);
                }).succeeded());
    expectOk(mProbe->ping());
    // Whom there is no room for any more is not cut off for it.
    const Return<void> tooMany = mProbe->receive(partOf(10, 0), [](int32_t, int32_t, bool) {});
    EXPECT_FALSE(tooMany.isOk());
    EXPECT_FALSE(tooMany.isDeadObject());
    expectOk(mProbe->ping());
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &before, nullptr));
}

using HostileServers = TransportTest;

TEST_F(HostileServers, LoseTheirClient) {
    const struct {
        const char* reason;
        void (*act)(unique_fd& link);
    } cases[] = {
            {"it has gone", [](unique_fd& link) { link.reset(); }},
            {"it took too long", [](unique_fd&) {}},
            {"does not keep to the protocol", [](unique_fd& link) { sendRaw(link, ping()); }},
            {"does not keep to the protocol", [](unique_fd& link) { sendRaw(link, half()); }},
            {"does not keep to the protocol",
             [](unique_fd& link) { ::send(link, "garbage", 7, 0); }},
    };
    orva_platform::setReplyLimit(std::chrono::milliseconds(200));
    for (const auto& each : cases) {
        SCOPED_TRACE(each.reason);
        const unique_fd listening(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
        sockaddr_un address = {AF_UNIX, {}};
        socketOf().copy(address.sun_path, sizeof address.sun_path - 1);
        ASSERT_EQ(0, bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address));
        ASSERT_EQ(0, listen(listening, 1));
        LogCapture log;
        std::thread client([] { EXPECT_EQ(nullptr, IProbe::getService()); });
        unique_fd link(accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
        each.act(link);
        client.join();
        EXPECT_TRUE(logged(log, each.reason));
        EXPECT_EQ(0, unlink(address.sun_path));
    }
    orva_platform::setReplyLimit(std::chrono::milliseconds(0));
}

}  // namespace
