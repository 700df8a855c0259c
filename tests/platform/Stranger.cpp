/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "Stranger.h"

#include <linux/sched.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

#include <gtest/gtest.h>

namespace orva_test {

using namespace android::hardware::socket;
using android::base::unique_fd;

namespace {

constexpr std::chrono::seconds kLong{20};

pid_t forkAs(pid_t number) {
    if (number == 0) {
        return fork();
    }
    clone_args arguments = {};
    arguments.exit_signal = SIGCHLD;
    arguments.set_tid = reinterpret_cast<uintptr_t>(&number);
    arguments.set_tid_size = 1;
    return static_cast<pid_t>(syscall(SYS_clone3, &arguments, sizeof arguments));
}

// Waits for what the server sends.
Io take(int socket, MessageHeader* header, std::vector<unique_fd>* descriptors) {
    std::vector<uint8_t> packet(kPacketSize);
    size_t size = 0;
    Io io = waitReadable(socket, kLong);
    if (io == Io::kDone) {
        io = receivePacket(socket, packet.data(), packet.size(), &size, descriptors, Wait::kNo);
    }
    *header = {};
    std::copy_n(packet.data(), std::min(size, sizeof *header), reinterpret_cast<uint8_t*>(header));
    return io;
}

Io take(int socket, MessageHeader* header) {
    std::vector<unique_fd> descriptors;
    return take(socket, header, &descriptors);
}

bool endsOnceRead(int socket) {
    MessageHeader header;
    Io last;
    while ((last = take(socket, &header)) == Io::kDone) {
    }
    return last == Io::kClosed;
}

}  // namespace

Stranger::Stranger(const std::function<void()>& act, pid_t number) {
    const pid_t parent = getpid();
    mPid = forkAs(number);
    if (mPid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() == parent) {
            act();
        }
        fflush(stdout);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    }
}

Stranger::~Stranger() {
    if (mPid > 0) {
        kill(mPid, SIGKILL);
        waitpid(mPid, nullptr, 0);
    }
}

bool Stranger::succeeded() {
    int status = -1;
    waitpid(mPid, &status, 0);
    mPid = -1;
    return status == 0;
}

RawClient::RawClient(const std::string& path)
        : RawClient(unique_fd(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)), path) {}

RawClient::RawClient(unique_fd socket, const std::string& path) : link(std::move(socket)) {
    sockaddr_un address = {AF_UNIX, {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(0, connect(link, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    MessageHeader welcome;
    if (take(link, &welcome) == Io::kDone) {
        EXPECT_EQ(MessageKind::kWelcome, welcome.kind);
        root = welcome.target;
        channel = openChannel();
    }
}

void RawClient::control(MessageKind kind, uint64_t target, uint32_t code, int descriptor) {
    MessageHeader header = {};
    header.magic = kMagic;
    header.kind = kind;
    header.target = target;
    header.code = code;
    header.descriptors = descriptor < 0 ? 0 : 1;
    sendPacket(link, &header, sizeof header, &descriptor, header.descriptors, kLong);
}

unique_fd RawClient::openChannel() {
    SocketPair sockets;
    control(MessageKind::kOpenChannel, 0, 0, sockets.theirs.get());
    return std::move(sockets.ours);
}

bool RawClient::call(WireMessage message, size_t descriptors) {
    if (message.header().kind == MessageKind::kCall) {
        message.header().target = root;
    }
    return sendRaw(channel, message, descriptors);
}

unique_fd RawClient::adoptChannel() {
    MessageHeader header;
    std::vector<unique_fd> descriptors;
    while (take(link, &header, &descriptors) == Io::kDone) {
        if (header.kind == MessageKind::kOpenChannel) {
            return std::move(descriptors.at(0));
        }
    }
    return {};
}

bool RawClient::isEnded() {
    return endsOnceRead(link);
}

bool RawClient::isChannelEnded() {
    return endsOnceRead(channel);
}

std::string RawClient::nextOn(int socket) {
    MessageHeader header;
    if (take(socket, &header) != Io::kDone) {
        return "end";
    }
    switch (header.kind) {
    case MessageKind::kCall:
        return "call";
    case MessageKind::kReply:
        return "reply " + std::to_string(header.status);
    case MessageKind::kRelease:
        return "release";
    default:
        return "something";
    }
}

bool sendRaw(int socket, const WireMessage& message, size_t descriptors) {
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

}  // namespace orva_test
