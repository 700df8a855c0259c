/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What a client that keeps to no rule can do to a server: lose its own connection.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <thread>

#include <linux/android/binder.h>
#include <orva/test/1.0/BpHwProbe.h>

#include "TransportTest.h"
#include "WireKit.h"

namespace {

using namespace orva_test;
using namespace android::hardware::socket;
using android::base::unique_fd;
using android::hardware::IBinder;
using orva::test::V1_0::BpHwProbe;

// A client without a runtime: the sockets of a connection, to put anything on.
class RawClient {
public:
    explicit RawClient(const std::string& path)
            : mLink(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)) {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(0, connect(mLink.get(), reinterpret_cast<sockaddr*>(&address), sizeof address));
    }

    int link() const { return mLink.get(); }
    void closeLink() { mLink.reset(); }

    // Offers a descriptor as a channel.
    void offer(int descriptor) const {
        MessageHeader header = {};
        header.magic = kMagic;
        header.kind = MessageKind::kOpenChannel;
        header.descriptors = 1;
        sendPacket(mLink.get(), &header, sizeof header, &descriptor, 1, TimeLimit(1000));
    }

    unique_fd openChannel() const {
        SocketPair sockets;
        offer(sockets.theirs.get());
        return std::move(sockets.ours);
    }

    // Waits for the server to have ended the connection, and takes what it sends until then.
    bool isCutOff() const { return ends(mLink.get()); }
    static bool ends(int socket) {
        std::vector<uint8_t> packet(kPacketSize);
        std::vector<unique_fd> descriptors;
        size_t size;
        while (waitReadable(socket, std::chrono::seconds(10)) == Io::kDone) {
            if (receivePacket(socket, packet.data(), packet.size(), &size, &descriptors,
                              Wait::kNo) == Io::kClosed) {
                return true;
            }
        }
        return false;
    }

private:
    unique_fd mLink;
};

WireMessage call(const std::function<void(BpHwProbe&)>& method) {
    WireMessage message = record([&](const sp<IBinder>& binder) {
        const sp<BpHwProbe> proxy = new BpHwProbe(binder);
        method(*proxy);
    });
    message.header().target = 0;  // The service itself.
    return message;
}

WireMessage ping() {
    return call([](BpHwProbe& probe) { probe.ping().isOk(); });
}

WireMessage largeCall() {
    return call([](BpHwProbe& probe) {
        probe.text(std::string(100'000, 't'), [](const hidl_string&) {}).isOk();
    });
}

class HostilePeers : public TransportTest {
protected:
    static constexpr char kReplyLimitMs[] = "500";

    void SetUp() override {
        TransportTest::SetUp();
        mServer = std::make_unique<PeerProcess>(
                std::vector<std::string>{"serve", "default", "2", kReplyLimitMs});
        mProbe = service();
        mHeld = resourcesOf(mProbe);
    }
    void TearDown() override {
        mProbe.clear();
        mServer.reset();
        TransportTest::TearDown();
    }

    std::string servicePath() const { return path(fileOf("default")); }

    std::unique_ptr<PeerProcess> mServer;
    sp<IProbe> mProbe;
    Held mHeld;
};

TEST_F(HostilePeers, LoseTheirConnectionAndNothingElse) {
    const struct {
        const char* what;
        void (*act)(const RawClient& client, int channel);
    } cases[] = {
            {"garbage on the link",
             [](const RawClient& client, int) {
                 const std::string garbage(1000, '?');
                 ::send(client.link(), garbage.data(), garbage.size(), 0);
             }},
            {"a packet larger than any",
             [](const RawClient& client, int) {
                 const std::string garbage(100'000, '?');
                 ::send(client.link(), garbage.data(), garbage.size(), 0);
             }},
            {"a call on the link",
             [](const RawClient& client, int) { send(client.link(), ping()); }},
            {"a release of what it does not hold",
             [](const RawClient& client, int) {
                 MessageHeader header = {};
                 header.magic = kMagic;
                 header.kind = MessageKind::kRelease;
                 header.target = 17;
                 header.code = 1;
                 sendPacket(client.link(), &header, sizeof header, nullptr, 0, TimeLimit(1));
             }},
            {"a file as a channel", [](const RawClient& client, int) { client.offer(0); }},
            {"its own end of the link as a channel",
             [](const RawClient& client, int) { client.offer(client.link()); }},
            {"a socket of another kind as a channel",
             [](const RawClient& client, int) {
                 const unique_fd datagram(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
                 client.offer(datagram.get());
             }},
            {"1000 channels",
             [](const RawClient& client, int) {
                 std::vector<unique_fd> channels;
                 for (int i = 0; i < 1000; ++i) {
                     channels.push_back(client.openChannel());
                 }
             }},
            {"garbage on a channel",
             [](const RawClient&, int channel) { ::send(channel, "garbage", 7, 0); }},
            {"a reply that nobody waits for",
             [](const RawClient&, int channel) {
                 WireMessage message = ping();
                 message.header().kind = MessageKind::kReply;
                 send(channel, message);
             }},
            {"half a message, and then nothing",
             [](const RawClient&, int channel) {
                 sendPacket(channel, largeCall().bytes.data(), kPacketSize, nullptr, 0,
                            TimeLimit(1));
             }},
            {"half a message, and then another",
             [](const RawClient&, int channel) {
                 sendPacket(channel, largeCall().bytes.data(), kPacketSize, nullptr, 0,
                            TimeLimit(1));
                 for (int i = 0; i < 5; ++i) {
                     sendPacket(channel, largeCall().bytes.data(), kPacketSize, nullptr, 0,
                                TimeLimit(1));
                 }
                 sendPacket(channel, largeCall().bytes.data(), kPacketSize, nullptr, 0,
                            TimeLimit(1));
             }},
            {"254 descriptors, over two packets",
             [](const RawClient&, int channel) {
                 const WireMessage message = largeCall();
                 const std::vector<int> many(127, STDOUT_FILENO);
                 for (size_t i = 0; i < 2; ++i) {
                     sendPacket(channel, message.bytes.data() + i * kPacketSize, kPacketSize,
                                many.data(), many.size(), TimeLimit(1));
                 }
             }},
            {"253 descriptors without a place",
             [](const RawClient&, int channel) {
                 const WireMessage message = ping();
                 const std::vector<int> many(253, STDOUT_FILENO);
                 sendPacket(channel, message.bytes.data(), message.bytes.size(), many.data(),
                            many.size(), TimeLimit(1));
             }},
            {"an object of ours that it does not hold",
             [](const RawClient&, int channel) {
                 WireMessage message = call([](BpHwProbe& probe) { probe.hold(new Probe).isOk(); });
                 message.object<flat_binder_object>(0).hdr.type = BINDER_TYPE_HANDLE;
                 send(channel, message);
             }},
            {"thousands of objects",
             [](const RawClient&, int channel) {
                 // As if it sent ever new ones, and we had to keep them all.
                 WireMessage message = call([](BpHwProbe& probe) { probe.hold(new Probe).isOk(); });
                 MessageHeader& header = message.header();
                 const uint32_t count = 5000;
                 const flat_binder_object object = message.object<flat_binder_object>(0);
                 WireMessage flood;
                 flood.bytes.resize(sizeof header + count * (sizeof object + sizeof(uint64_t)));
                 header.dataSize = count * sizeof object;
                 header.objectCount = count;
                 memcpy(flood.bytes.data(), &header, sizeof header);
                 for (uint32_t i = 0; i < count; ++i) {
                     flood.offsets()[i] = i * sizeof object;
                     flood.object<flat_binder_object>(i) = object;
                     flood.object<flat_binder_object>(i).binder = i + 1;
                 }
                 send(channel, flood);
             }},
            {"calls whose replies it never reads",
             [](const RawClient&, int channel) {
                 const WireMessage message = ping();
                 while (waitReadable(channel, TimeLimit(1)) != Io::kClosed &&
                        sendPacket(channel, message.bytes.data(), message.bytes.size(), nullptr, 0,
                                   std::chrono::seconds(5)) == Io::kDone) {
                 }
             }},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        RawClient client(servicePath());
        const unique_fd channel = client.openChannel();
        each.act(client, channel.get());
        expectOk(mProbe->ping());  // Another client is served meanwhile.
        EXPECT_TRUE(client.isCutOff());
        EXPECT_TRUE(RawClient::ends(channel.get()));
        EXPECT_TRUE(eventuallyHolds(mProbe, mHeld));
    }
}

TEST_F(HostilePeers, MayLeaveAtAnyTime) {
    const std::vector<std::function<void(RawClient&)>> ways = {
            [](RawClient&) {},
            [](RawClient& client) { client.openChannel(); },
            [](RawClient& client) {
                const unique_fd channel = client.openChannel();
                send(channel.get(), ping());
            },
            [](RawClient& client) {
                const unique_fd channel = client.openChannel();
                send(channel.get(), largeCall());
                client.closeLink();
            },
            [](RawClient& client) {
                const unique_fd channel = client.openChannel();
                sendPacket(channel.get(), largeCall().bytes.data(), kPacketSize, nullptr, 0,
                           TimeLimit(1));
            },
            [](RawClient& client) {
                // In the middle of a call that calls back.
                const unique_fd channel = client.openChannel();
                send(channel.get(), call([](BpHwProbe& probe) {
                         probe.caller(new Probe, [](int32_t, int32_t, uint32_t) {}).isOk();
                     }));
                EXPECT_EQ(Io::kDone, waitReadable(channel.get(), std::chrono::seconds(10)));
            },
    };
    for (size_t i = 0; i < ways.size(); ++i) {
        SCOPED_TRACE(i);
        for (int round = 0; round < 5; ++round) {
            RawClient client(servicePath());
            ways[i](client);
        }
        EXPECT_TRUE(eventuallyHolds(mProbe, mHeld));
    }
}

TEST_F(HostilePeers, ThatDoNotAnswerACallAreTakenForDead) {
    RawClient client(servicePath());
    const unique_fd channel = client.openChannel();
    send(channel.get(), call([](BpHwProbe& probe) { probe.hold(new Probe).isOk(); }));
    EXPECT_EQ(Io::kDone, waitReadable(channel.get(), std::chrono::seconds(10)));
    EXPECT_TRUE(mProbe->watch(5));
    EXPECT_EQ(android::DEAD_OBJECT, int32_t(mProbe->callHeld()));
    EXPECT_TRUE(client.isCutOff());
    std::vector<uint64_t> deaths;
    EXPECT_TRUE(eventually([&] {
        expectOk(mProbe->deaths([&](const hidl_vec<uint64_t>& cookies) { deaths = cookies; }));
        return !deaths.empty();
    }));
    EXPECT_EQ(std::vector<uint64_t>{5}, deaths);
    expectOk(mProbe->letGo());
    EXPECT_TRUE(eventuallyHolds(mProbe, mHeld));
}

TEST_F(HostilePeers, CannotTakeWhatAThreadWasWokenFor) {
    // The client keeps the server's end of the channel, and reads from it in the server's place.
    RawClient client(servicePath());
    SocketPair sockets;
    client.offer(sockets.theirs.get());
    send(sockets.ours.get(), call([](BpHwProbe& probe) {
             probe.caller(new Probe, [](int32_t, int32_t, uint32_t) {}).isOk();
         }));
    ASSERT_EQ(Io::kDone, waitReadable(sockets.ours.get(), std::chrono::seconds(10)));
    const WireMessage bait = ping();
    std::vector<uint8_t> packet(kPacketSize);
    std::vector<unique_fd> descriptors;
    size_t size;
    for (int i = 0; i < 200; ++i) {
        sendPacket(sockets.ours.get(), bait.bytes.data(), bait.bytes.size(), nullptr, 0,
                   TimeLimit(1));
        receivePacket(sockets.theirs.get(), packet.data(), packet.size(), &size, &descriptors,
                      Wait::kNo);
    }
    EXPECT_TRUE(client.isCutOff()) << "after the reply limit, whoever took the packets";
    EXPECT_TRUE(eventuallyHolds(mProbe, mHeld));
}

TEST_F(HostilePeers, MayCallWhatTheyDoNotHoldInVain) {
    RawClient client(servicePath());
    const unique_fd channel = client.openChannel();
    WireMessage message = ping();
    message.header().target = 12345;
    send(channel.get(), message);
    std::unique_ptr<ReceivedMessage> reply;
    ASSERT_EQ(Io::kDone, waitReadable(channel.get(), std::chrono::seconds(10)));
    ASSERT_EQ(Io::kDone, ReceivedMessage::receive(channel.get(), Wait::kNo, &reply));
    EXPECT_EQ(MessageKind::kReply, reply->header().kind);
    EXPECT_EQ(android::BAD_VALUE, reply->header().status);
}

TEST_F(HostilePeers, ConnectOnlySoOften) {
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < 100; ++i) {
        clients.push_back(std::make_unique<RawClient>(servicePath()));
    }
    EXPECT_TRUE(clients.back()->isCutOff());
    expectOk(mProbe->ping());
    EXPECT_GE(64u, resourcesOf(mProbe).links);
    clients.clear();
    EXPECT_TRUE(eventuallyHolds(mProbe, mHeld));
}

TEST_F(HostilePeers, AreRefusedWhenTheServerHasNoDescriptorLeft) {
    const rlimit before = [&] {
        rlimit limit;
        EXPECT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, nullptr, &limit));
        return limit;
    }();
    rlimit none = before;
    none.rlim_cur = mHeld.descriptors + 3;
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &none, nullptr));
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < 30; ++i) {
        clients.push_back(std::make_unique<RawClient>(servicePath()));
    }
    EXPECT_TRUE(clients.back()->isCutOff());
    expectOk(mProbe->ping());
    clients.clear();
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &before, nullptr));
    EXPECT_TRUE(eventuallyHolds(mProbe, mHeld));
    PeerProcess client({"hold", "default"});
}

}  // namespace
