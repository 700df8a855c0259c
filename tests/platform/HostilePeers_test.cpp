/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What a client that keeps to no rule can do to a server: lose its own connection.
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <linux/android/binder.h>
#include <orva/test/1.0/BpHwProbe.h>

#include "TransportTest.h"
#include "WireKit.h"
#include "socket/ReceivedMessage.h"

namespace {

using namespace orva_test;
using namespace android::hardware::socket;
using android::base::unique_fd;
using orva::test::V1_0::BpHwProbe;

constexpr std::chrono::seconds kLong{10};

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

    // Sends a message of nothing but its header.
    void control(MessageKind kind, uint64_t target, uint32_t code, int descriptor = -1) const {
        MessageHeader header = {};
        header.magic = kMagic;
        header.kind = kind;
        header.target = target;
        header.code = code;
        header.descriptors = descriptor < 0 ? 0 : 1;
        sendPacket(link(), &header, sizeof header, &descriptor, header.descriptors, kLong);
    }
    // Offers a descriptor as a channel.
    void offer(int descriptor) const { control(MessageKind::kOpenChannel, 0, 0, descriptor); }
    unique_fd openChannel() const {
        SocketPair sockets;
        offer(sockets.theirs.get());
        return std::move(sockets.ours);
    }

    // Waits for the server to have ended the connection, and takes what it sends until then.
    bool isCutOff() const { return ends(link()); }
    static bool ends(int socket) {
        std::vector<uint8_t> packet(kPacketSize);
        std::vector<unique_fd> descriptors;
        size_t size;
        while (waitReadable(socket, kLong) == Io::kDone) {
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

// Calls of the service itself.
template <typename Method>
WireMessage call(Method method) {
    WireMessage message = recordOf<BpHwProbe>(method);
    message.header().target = 0;
    return message;
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
// One of several packets, and one of those.
WireMessage largeCall() {
    return call([](BpHwProbe& probe) {
        return probe.text(std::string(100'000, 't'), [](const hidl_string&) {});
    });
}
void sendFirstPacket(int channel, size_t descriptors = 0) {
    const std::vector<int> many(descriptors, STDOUT_FILENO);
    sendPacket(channel, largeCall().bytes.data(), kPacketSize, many.data(), many.size(), kLong);
}
void sendGarbage(int socket, size_t size) {
    const std::string garbage(size, '?');
    ::send(socket, garbage.data(), garbage.size(), 0);
}
// As if the peer sent ever new objects, and we had to keep them all.
WireMessage manyObjects(uint32_t count) {
    WireMessage one = hold();
    const flat_binder_object object = one.object<flat_binder_object>(0);
    MessageHeader header = one.header();
    header.dataSize = static_cast<uint32_t>(count * sizeof object);
    header.objectCount = count;
    WireMessage flood;
    flood.bytes.resize(sizeof header + count * (sizeof object + sizeof(uint64_t)));
    memcpy(flood.bytes.data(), &header, sizeof header);
    for (uint32_t i = 0; i < count; ++i) {
        flood.offsets()[i] = i * sizeof object;
        flood.object<flat_binder_object>(i) = object;
        flood.object<flat_binder_object>(i).binder = i + 1;
    }
    return flood;
}

class HostilePeers : public TransportTest {
protected:
    static constexpr char kReplyLimitMs[] = "500";

    void SetUp() override {
        TransportTest::SetUp();
        mServer = std::make_unique<PeerProcess>("serve", "default", "2", kReplyLimitMs);
        mProbe = service();
        mHeld = resourcesOf(mProbe);
    }
    void TearDown() override {
        expectOk(mProbe->letGo());
        EXPECT_TRUE(eventuallyHolds(mProbe, mHeld));
        mProbe.clear();
        mServer.reset();
        TransportTest::TearDown();
    }

    std::string servicePath() const { return path(fileOf("default")); }
    std::vector<std::unique_ptr<RawClient>> connect(size_t count) const {
        std::vector<std::unique_ptr<RawClient>> clients(count);
        for (auto& client : clients) {
            client = std::make_unique<RawClient>(servicePath());
        }
        return clients;
    }

    std::unique_ptr<PeerProcess> mServer;
    sp<IProbe> mProbe;
    Held mHeld;
};

TEST_F(HostilePeers, LoseTheirConnectionAndNothingElse) {
    const struct {
        const char* what;
        void (*act)(const RawClient& client, int channel);
    } cases[] = {
            {"garbage on the link", [](const RawClient& c, int) { sendGarbage(c.link(), 1000); }},
            {"a packet larger than any",
             [](const RawClient& c, int) { sendGarbage(c.link(), 100'000); }},
            {"a call on the link", [](const RawClient& c, int) { send(c.link(), ping()); }},
            {"a release of what it does not hold",
             [](const RawClient& c, int) { c.control(MessageKind::kRelease, 17, 1); }},
            {"a file as a channel", [](const RawClient& c, int) { c.offer(0); }},
            {"its own end of the link as a channel",
             [](const RawClient& c, int) { c.offer(c.link()); }},
            {"a socket of another kind as a channel",
             [](const RawClient& c, int) {
                 const unique_fd datagram(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
                 c.offer(datagram.get());
             }},
            {"1000 channels",
             [](const RawClient& c, int) {
                 std::vector<unique_fd> channels;
                 for (int i = 0; i < 1000; ++i) {
                     channels.push_back(c.openChannel());
                 }
             }},
            {"garbage on a channel",
             [](const RawClient&, int channel) { sendGarbage(channel, 7); }},
            {"a reply that nobody waits for",
             [](const RawClient&, int channel) {
                 WireMessage message = ping();
                 message.header().kind = MessageKind::kReply;
                 send(channel, message);
             }},
            {"half a message, and then nothing",
             [](const RawClient&, int channel) { sendFirstPacket(channel); }},
            {"half a message, and then others",
             [](const RawClient&, int channel) {
                 for (int i = 0; i < 7; ++i) {
                     sendFirstPacket(channel);
                 }
             }},
            {"254 descriptors, over two packets",
             [](const RawClient&, int channel) {
                 sendFirstPacket(channel, 127);
                 sendFirstPacket(channel, 127);
             }},
            {"253 descriptors without a place",
             [](const RawClient&, int channel) {
                 const WireMessage message = ping();
                 const std::vector<int> many(253, STDOUT_FILENO);
                 sendPacket(channel, message.bytes.data(), message.bytes.size(), many.data(),
                            many.size(), kLong);
             }},
            {"an object of ours that it does not hold",
             [](const RawClient&, int channel) {
                 WireMessage message = hold();
                 message.object<flat_binder_object>(0).hdr.type = BINDER_TYPE_HANDLE;
                 send(channel, message);
             }},
            {"thousands of objects",
             [](const RawClient&, int channel) { send(channel, manyObjects(5000)); }},
            {"calls whose replies it never reads",
             [](const RawClient&, int channel) {
                 const WireMessage message = ping();
                 while (waitReadable(channel, TimeLimit(1)) != Io::kClosed &&
                        sendPacket(channel, message.bytes.data(), message.bytes.size(), nullptr, 0,
                                   kLong) == Io::kDone) {
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
    const struct {
        const char* when;
        void (*act)(int channel);
    } cases[] = {
            {"without a call", [](int) {}},
            {"amid a call", [](int channel) { send(channel, largeCall()); }},
            {"amid a message", [](int channel) { sendFirstPacket(channel); }},
            {"amid a call back",
             [](int channel) {
                 send(channel, callBack());
                 EXPECT_EQ(Io::kDone, waitReadable(channel, kLong));
             }},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.when);
        for (int round = 0; round < 5; ++round) {
            const RawClient client(servicePath());
            each.act(client.openChannel().get());
        }
        EXPECT_TRUE(eventuallyHolds(mProbe, mHeld));
    }
}

TEST_F(HostilePeers, ThatDoNotAnswerACallAreTakenForDead) {
    const RawClient client(servicePath());
    const unique_fd channel = client.openChannel();
    send(channel.get(), hold());
    EXPECT_EQ(Io::kDone, waitReadable(channel.get(), kLong));
    EXPECT_TRUE(mProbe->watch(5));
    EXPECT_EQ(android::DEAD_OBJECT, int32_t(mProbe->callHeld()));
    EXPECT_TRUE(client.isCutOff());
    EXPECT_TRUE(eventually([&] { return !deathsAt(mProbe).empty(); }));
    EXPECT_EQ(std::vector<uint64_t>{5}, deathsAt(mProbe));
}

TEST_F(HostilePeers, CannotTakeWhatAThreadWasWokenFor) {
    // The client keeps the server's end of the channel, and reads from it in the server's place.
    const RawClient client(servicePath());
    const SocketPair sockets;
    client.offer(sockets.theirs.get());
    send(sockets.ours.get(), callBack());
    ASSERT_EQ(Io::kDone, waitReadable(sockets.ours.get(), kLong));
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
}

TEST_F(HostilePeers, MayCallWhatTheyDoNotHoldInVain) {
    const RawClient client(servicePath());
    const unique_fd channel = client.openChannel();
    WireMessage message = ping();
    message.header().target = 12345;
    send(channel.get(), message);
    std::unique_ptr<ReceivedMessage> reply;
    ASSERT_EQ(Io::kDone, waitReadable(channel.get(), kLong));
    ASSERT_EQ(Io::kDone, ReceivedMessage::receive(channel.get(), Wait::kNo, &reply));
    EXPECT_EQ(MessageKind::kReply, reply->header().kind);
    EXPECT_EQ(android::BAD_VALUE, reply->header().status);
}

TEST_F(HostilePeers, ConnectOnlySoOften) {
    const auto clients = connect(100);
    EXPECT_TRUE(clients.back()->isCutOff());
    expectOk(mProbe->ping());
    EXPECT_GE(64u, resourcesOf(mProbe).links);
}

TEST_F(HostilePeers, AreRefusedWhenTheServerHasNoDescriptorLeft) {
    rlimit before;
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, nullptr, &before));
    rlimit none = before;
    none.rlim_cur = mHeld.descriptors + 3;
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &none, nullptr));
    EXPECT_TRUE(connect(30).back()->isCutOff());
    expectOk(mProbe->ping());
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &before, nullptr));
    EXPECT_TRUE(eventuallyHolds(mProbe, mHeld));
    PeerProcess client("hold", "default");
}

}  // namespace
