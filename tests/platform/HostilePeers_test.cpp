/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What a client that keeps to no rule can do to a server: lose its own connection.
#include <algorithm>
#include <iterator>

#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <linux/android/binder.h>
#include <orva/test/1.0/BpHwProbe.h>

#include "TransportTest.h"
#include "WireKit.h"

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

// Sends it in as many packets as it takes; false when the peer no longer listens.
bool send(int socket, const WireMessage& message, size_t descriptors = 0) {
    const std::vector<int> lent(descriptors, STDOUT_FILENO);
    for (size_t sent = 0; sent < message.bytes.size(); sent += kPacketSize) {
        const size_t part = std::min(kPacketSize, message.bytes.size() - sent);
        if (sendPacket(socket, message.bytes.data() + sent, part, lent.data(),
                       sent == 0 ? descriptors : 0, kLong) != Io::kDone) {
            return false;
        }
    }
    return true;
}

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
// The first packet of a call of several.
void sendFirstPacket(int channel, size_t descriptors = 0) {
    WireMessage message = ping();
    message.header().buffersSize = 2 * kPacketSize;
    message.bytes.resize(kPacketSize);
    send(channel, message, descriptors);
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

    RawClient connect() const { return RawClient(path(fileOf("default"))); }
    // The last of many that all stay.
    bool isLastCutOff(size_t count) const {
        std::vector<RawClient> clients;
        std::generate_n(std::back_inserter(clients), count, [this] { return connect(); });
        return clients.back().isCutOff();
    }
};

TEST_F(HostilePeers, LoseTheirConnectionAndNothingElse) {
    const struct {
        const char* what;
        void (*act)(const RawClient& client, int channel);
    } cases[] = {
            {"garbage on the link",
             [](const RawClient& c, int) { ::send(c.link(), "garbage", 7, 0); }},
            {"a call on the link", [](const RawClient& c, int) { send(c.link(), ping()); }},
            {"a release of what it does not hold",
             [](const RawClient& c, int) { c.control(MessageKind::kRelease, 4711, 1); }},
            {"a channel that is no socket",
             [](const RawClient& c, int) { c.offer(STDOUT_FILENO); }},
            {"1000 channels",
             [](const RawClient& c, int) {
                 std::vector<unique_fd> channels;
                 channels.reserve(1000);
                 for (int i = 0; i < 1000; ++i) {
                     channels.push_back(c.openChannel());
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
             [](const RawClient&, int channel) { sendFirstPacket(channel); }},
            {"254 descriptors, over two packets",
             [](const RawClient&, int channel) {
                 sendFirstPacket(channel, 127);
                 sendFirstPacket(channel, 127);
             }},
            {"253 descriptors without a place",
             [](const RawClient&, int channel) { send(channel, ping(), 253); }},
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
                 while (send(channel, ping())) {
                 }
             }},
            {"no answer to a call back",
             [](const RawClient&, int channel) { send(channel, callBack()); }},
    };
    for (const auto& each : cases) {
        // Whoever does not wait to be cut off leaves amid all this.
        for (const bool waits : {true, false}) {
            SCOPED_TRACE(each.what);
            const RawClient client = connect();
            const unique_fd channel = client.openChannel();
            each.act(client, channel.get());
            if (waits) {
                expectOk(mProbe->ping());  // Another client is served meanwhile.
                EXPECT_TRUE(client.isCutOff());
                EXPECT_TRUE(RawClient::ends(channel.get()));
            }
        }
        expectNothingLeft();
    }
}

TEST_F(HostilePeers, ThatDoNotAnswerACallAreTakenForDead) {
    const RawClient client = connect();
    const unique_fd channel = client.openChannel();
    send(channel.get(), hold());
    EXPECT_EQ(Io::kDone, waitReadable(channel.get(), kLong));
    EXPECT_TRUE(mProbe->watch(5));
    EXPECT_EQ(android::DEAD_OBJECT, int32_t(mProbe->callHeld()));
    EXPECT_TRUE(client.isCutOff());
    EXPECT_TRUE(eventually([&] { return !notes().empty(); }));
    EXPECT_EQ(std::vector<int32_t>{5}, notes());
}

TEST_F(HostilePeers, ConnectOnlySoOftenAndNotWithoutADescriptorLeft) {
    EXPECT_TRUE(isLastCutOff(100));
    expectOk(mProbe->ping());
    expectNothingLeft();

    rlimit before;
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, nullptr, &before));
    const rlimit none = {mHeld.descriptors + 3, before.rlim_max};
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &none, nullptr));
    EXPECT_TRUE(isLastCutOff(30));
    expectOk(mProbe->ping());
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &before, nullptr));
    PeerProcess client("hold", "default");
}

}  // namespace
