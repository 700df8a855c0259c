/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What a client that keeps to no rule can do to a server, and a server to its client: lose its own
// connection.
#include <algorithm>
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

#include "TransportTest.h"
#include "WireKit.h"

namespace {

using namespace orva_test;
using namespace android::hardware::socket;
using android::base::unique_fd;
using orva::test::LogCapture;
using orva::test::V1_0::BpHwProbe;

constexpr std::chrono::seconds kLong{10};

// A client without a runtime has a link, and channels on it, to put anything on.
sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address = {AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}
unique_fd connectTo(const std::string& path) {
    unique_fd link(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
    const sockaddr_un address = addressOf(path);
    EXPECT_EQ(0, connect(link, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    return link;
}
// Sends a message of nothing but its header and at most one descriptor.
void control(int link, MessageKind kind, uint64_t target, uint32_t code, int descriptor = -1) {
    MessageHeader header = {};
    header.magic = kMagic;
    header.kind = kind;
    header.target = target;
    header.code = code;
    header.descriptors = descriptor < 0 ? 0 : 1;
    sendPacket(link, &header, sizeof header, &descriptor, header.descriptors, kLong);
}

// Waits for what the server sends.
Io take(int socket, std::vector<unique_fd>* descriptors) {
    std::vector<uint8_t> packet(kPacketSize);
    size_t size;
    const Io there = waitReadable(socket, kLong);
    return there == Io::kDone ? receivePacket(socket, packet.data(), packet.size(), &size,
                                              descriptors, Wait::kNo)
                              : there;
}
Io take(int socket) {
    std::vector<unique_fd> descriptors;
    return take(socket, &descriptors);
}

// A channel of the client's making, or the server's, of which the client has nothing but its end.
unique_fd openChannel(int link, uint32_t code = kReplaceChannel) {
    SocketPair sockets;
    control(link, MessageKind::kOpenChannel, 0, code, sockets.theirs.get());
    sockets.theirs.reset();
    if (code == kKeepChannel) {
        return std::move(sockets.ours);
    }
    std::vector<unique_fd> channel;
    if (take(sockets.ours, &channel) != Io::kDone) {
        return {};
    }
    EXPECT_EQ(Io::kClosed, take(sockets.ours)) << "nobody may have the first one still";
    return std::move(channel.at(0));
}
// Waits for the server to end a connection, whatever it sends until then.
bool ends(int socket) {
    Io last;
    while ((last = take(socket)) == Io::kDone) {
    }
    return last == Io::kClosed;
}

// Waits for one more answer than there were before, and leaves them all unread.
bool answerCame(int socket, int* unread) {
    const int before = *unread;
    pollfd end = {socket, POLLRDHUP, 0};
    EXPECT_TRUE(eventually([&] {
        return ioctl(socket, SIOCINQ, unread) != 0 || *unread > before || poll(&end, 1, 0) != 0;
    }));
    return *unread > before;
}

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

    // The last of many that all stay.
    bool isLastCutOff(size_t count) const {
        std::vector<unique_fd> links(count);
        std::generate(links.begin(), links.end(), [this] { return connectTo(socketOf()); });
        return ends(links.back());
    }
};

TEST_F(HostilePeers, LoseTheirConnectionAndNothingElse) {
    const struct {
        const char* what;
        void (*act)(int link, int channel);
    } cases[] = {
            {"garbage on the link", [](int link, int) { ::send(link, "garbage", 7, 0); }},
            {"a call on the link", [](int link, int) { send(link, ping()); }},
            {"a release of what it does not hold",
             [](int link, int) { control(link, MessageKind::kRelease, 4711, 1); }},
            {"the same with an answer",
             [](int, int channel) {
                 send(channel, callBack());
                 take(channel);
                 WireMessage message = ping();
                 message.header().kind = MessageKind::kReply;
                 message.header().target = 4711;
                 message.header().code = 1;
                 send(channel, message);
             }},
            {"a channel that is no socket",
             [](int link, int) { control(link, MessageKind::kOpenChannel, 0, 0, 1); }},
            {"1000 channels",
             [](int link, int) {
                 std::vector<unique_fd> channels(1000);
                 std::generate(channels.begin(), channels.end(), [=] { return openChannel(link); });
             }},
            {"garbage on a channel", [](int, int channel) { ::send(channel, "garbage", 7, 0); }},
            {"a reply that nobody waits for",
             [](int, int channel) {
                 WireMessage message = ping();
                 message.header().kind = MessageKind::kReply;
                 send(channel, message);
             }},
            {"half a message, and then nothing",
             [](int, int channel) { sendFirstPacket(channel); }},
            {"254 descriptors, over two packets",
             [](int, int channel) {
                 sendFirstPacket(channel, 127);
                 sendFirstPacket(channel, 127);
             }},
            {"253 descriptors without a place",
             [](int, int channel) { send(channel, ping(), 253); }},
            {"an object of ours that it does not hold",
             [](int, int channel) {
                 WireMessage message = hold();
                 message.object<flat_binder_object>(0).hdr.type = BINDER_TYPE_HANDLE;
                 send(channel, message);
             }},
            {"thousands of objects", [](int, int channel) { send(channel, manyObjects(5000)); }},
            {"calls whose replies it never reads",
             [](int, int channel) {
                 int unread = 0;
                 while (send(channel, ping()) && answerCame(channel, &unread)) {
                 }
             }},
            {"calls in place of an answer",
             [](int, int channel) {
                 send(channel, callBack());
                 while (send(channel, ping()) && take(channel) == Io::kDone) {
                 }
             }},
    };
    for (const auto& each : cases) {
        // Whoever does not wait to be cut off leaves amid all this.
        for (const bool waits : {true, false}) {
            SCOPED_TRACE(each.what);
            const unique_fd link = connectTo(socketOf());
            const unique_fd channel = openChannel(link, waits ? kReplaceChannel : kKeepChannel);
            each.act(link, channel);
            if (waits) {
                expectOk(mProbe->ping());  // Another client is served meanwhile.
                EXPECT_TRUE(ends(link));
                EXPECT_TRUE(ends(channel));
            }
        }
        expectNothingLeft();
    }
}

TEST_F(HostilePeers, LeaveNoDescriptorWhereTheirObjectIsHeld) {
    {
        const unique_fd link = connectTo(socketOf());
        const unique_fd channel = openChannel(link);
        send(channel, hold());
        EXPECT_EQ(Io::kDone, take(channel));
    }
    const std::string descriptors = mHeld.substr(mHeld.rfind(','));
    EXPECT_TRUE(eventually([&] {
        const std::string held = resources();
        return held.substr(held.rfind(',')) == descriptors;
    })) << resources()
        << "; at first " << mHeld;
}

// A thread of the server's stays with whoever calls often, but not when it is needed.
TEST_F(HostilePeers, KeepNoThreadByTheirSilence) {
    const PeerProcess server("patient", "2", "60000");
    const auto start = std::chrono::steady_clock::now();
    const unique_fd silent = connectTo(socketOf("patient"));
    const unique_fd called = openChannel(silent);
    for (int i = 0; i < 50; ++i) {
        send(called, ping());
        EXPECT_EQ(Io::kDone, take(called));
    }
    const unique_fd other = connectTo(socketOf("patient"));
    const unique_fd calling = openChannel(other);
    send(calling, callBack());
    EXPECT_EQ(Io::kDone, take(calling)) << "the call back, which is never answered";
    const sp<IProbe> probe = IProbe::getService("patient");
    ASSERT_NE(nullptr, probe);
    expectOk(probe->ping());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST_F(HostilePeers, ConnectOnlySoOftenAndNotWithoutADescriptorLeft) {
    EXPECT_TRUE(isLastCutOff(100));
    expectNothingLeft();

    rlimit before;
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, nullptr, &before));
    const std::filesystem::directory_iterator open("/proc/" + std::to_string(mServer->pid()) +
                                                   "/fd");
    const rlimit none = {static_cast<rlim_t>(std::distance(open, {})) + 3, before.rlim_max};
    ASSERT_EQ(0, prlimit(mServer->pid(), RLIMIT_NOFILE, &none, nullptr));
    EXPECT_TRUE(isLastCutOff(30));
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
    struct Case {
        const char* reason;
        std::function<void(unique_fd& link, int offered)> act;
    };
    const std::vector<Case> cases = {
            {"DEAD_OBJECT", [](unique_fd& link, int) { link.reset(); }},
            {"took too long to open a channel", [](unique_fd&, int) {}},
            {"does not keep to the protocol",
             [](unique_fd&, int offered) { control(offered, MessageKind::kRelease, 4711, 1); }},
            {"does not keep to the protocol",
             [](unique_fd&, int offered) {
                 control(offered, MessageKind::kOpenChannel, 0, 0, STDOUT_FILENO);
             }},
            {"does not keep to the protocol",
             [](unique_fd&, int offered) { ::send(offered, "garbage", 7, 0); }},
    };
    orva_platform::setReplyLimit(std::chrono::milliseconds(200));
    for (const auto& each : cases) {
        SCOPED_TRACE(each.reason);
        const unique_fd listening(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0));
        const sockaddr_un address = addressOf(socketOf());
        ASSERT_EQ(0, bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address));
        ASSERT_EQ(0, listen(listening, 1));
        LogCapture log;
        std::thread client([] { EXPECT_EQ(nullptr, IProbe::getService()); });
        unique_fd link(accept4(listening, nullptr, nullptr, SOCK_CLOEXEC));
        std::vector<unique_fd> offered;
        EXPECT_EQ(Io::kDone, take(link, &offered));
        each.act(link, offered.at(0));
        client.join();
        EXPECT_TRUE(logged(log, each.reason));
        EXPECT_EQ(0, unlink(address.sun_path));
    }
    orva_platform::setReplyLimit(std::chrono::milliseconds(0));
}

}  // namespace
