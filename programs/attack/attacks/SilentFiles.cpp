/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Regions, and buffers, of a file system that the client serves itself, and then serves no longer.

#include <fcntl.h>
#include <linux/fuse.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Attack.h"
#include "Processes.h"
#include "attacks/Attacks.h"
#include "attacks/Clients.h"
#include "attacks/Connections.h"

namespace orva::attack {

using android::base::unique_fd;

namespace {

constexpr uint64_t kBytes = 4096;
constexpr uint64_t kFile = 2;  // FUSE_ROOT_ID is the folder

// A file system of one file, "file", on a folder of its own.
class SilentMount {
public:
    SilentMount() {
        char folder[] = "/tmp/orva-attack-XXXXXX";
        folder_ = mkdtemp(folder) != nullptr ? folder : "";
        device_.reset(open("/dev/fuse", O_RDWR | O_CLOEXEC));
        const std::string options = "fd=" + std::to_string(device_.get()) +
                                    ",rootmode=40000,user_id=" + std::to_string(getuid()) +
                                    ",group_id=" + std::to_string(getgid());
        if (device_.get() < 0 || mount("orva-attack", folder_.c_str(), "fuse.orva-attack",
                                       MS_NOSUID | MS_NODEV, options.c_str()) != 0) {
            rmdir(folder_.c_str());
            throw Unavailable("only root mounts a file system of its own, where there is FUSE");
        }
    }
    ~SilentMount() {
        umount2(folder_.c_str(), MNT_DETACH);
        rmdir(folder_.c_str());
    }
    SilentMount(const SilentMount&) = delete;
    SilentMount& operator=(const SilentMount&) = delete;

    std::string file() const { return folder_ + "/file"; }

    // Answers what it takes to open the file, and nothing else.
    [[noreturn]] void serve() const {
        alignas(fuse_in_header) char request[1 << 16];
        for (;;) {
            if (read(device_.get(), request, sizeof request) <
                static_cast<ssize_t>(sizeof(fuse_in_header))) {
                stay();
            }
            const auto& header = *reinterpret_cast<const fuse_in_header*>(request);
            if (header.opcode == FUSE_INIT) {
                fuse_init_out init = {};
                init.major = FUSE_KERNEL_VERSION;
                init.minor = FUSE_KERNEL_MINOR_VERSION;
                init.max_write = kBytes;
                answer(header, init);
            } else if (header.opcode == FUSE_LOOKUP) {
                fuse_entry_out entry = {};
                entry.nodeid = kFile;
                entry.attr = attributes(kFile);
                answer(header, entry);
            } else if (header.opcode == FUSE_GETATTR && header.nodeid == FUSE_ROOT_ID) {
                fuse_attr_out folder = {};
                folder.attr = attributes(FUSE_ROOT_ID);
                answer(header, folder);
            } else if (header.opcode == FUSE_OPEN) {
                answer(header, fuse_open_out{});
            }
        }
    }
    // Whatever waits for it fails once its server has gone, too.
    void giveUp() { device_.reset(); }

private:
    static fuse_attr attributes(uint64_t node) {
        fuse_attr attributes = {};
        attributes.ino = node;
        attributes.size = kBytes;
        attributes.mode = node == kFile ? S_IFREG | 0600 : S_IFDIR | 0700;
        attributes.nlink = 1;
        attributes.uid = getuid();
        attributes.gid = getgid();
        return attributes;
    }
    template <typename Body>
    void answer(const fuse_in_header& request, const Body& body) const {
        char bytes[sizeof(fuse_out_header) + sizeof body];
        const fuse_out_header header = {sizeof bytes, 0, request.unique};
        std::memcpy(bytes, &header, sizeof header);
        std::memcpy(bytes + sizeof header, &body, sizeof body);
        (void)!write(device_.get(), bytes, sizeof bytes);
    }

    std::string folder_;
    unique_fd device_;
};

}  // namespace

void silentFiles(std::chrono::seconds length) {
    SilentMount files;
    Processes server(1, [&files](size_t) { files.serve(); });
    Processes client(1, [&files](size_t) {
        // All that the client itself asks of the file is that it be opened.
        files.giveUp();  // Or it would keep alive what it waits for at its end.
        const unique_fd file(open(files.file().c_str(), O_RDWR | O_CLOEXEC));
        if (file.get() < 0) {
            throw Unavailable("the file system does not work");
        }
        const Services services;
        openEcho(services, 1, [] {});
        openManager(services, 1, [] {});
        onThreads(8, [&] {
            // Kept, since closing one takes for ever.
            std::vector<std::unique_ptr<Sent>> all;
            for (int32_t number = 2; number < 50; ++number) {
                all.push_back(std::make_unique<Sent>(file.get(), kBytes));
                const Sent& sent = *all.back();
                services.ai->Process(1, "", sent.tensors(), sent.tensors(), 0).isOk();
                const android::hardware::hidl_vec<ModelBuffer> models = {sent.model()};
                services.managers->Init(number, "", "", models).isOk();
                services.managers->CheckModelCompatibility(1, sent.model()).isOk();
            }
            stay();
        });
    });
    std::this_thread::sleep_for(length);
    server.kill();
    files.giveUp();
    client.kill();
}

// A socket's lock is held while the kernel fills a buffer of who reads from it, and that buffer may
// be such a file's.
void heldChannels(std::chrono::seconds length) {
    SilentMount files;
    Processes server(1, [&files](size_t) { files.serve(); });
    Processes client(1, [&files](size_t) {
        files.giveUp();
        const unique_fd file(open(files.file().c_str(), O_RDWR | O_CLOEXEC));
        void* const buffer =
                mmap(nullptr, kBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
        if (buffer == MAP_FAILED) {
            throw Unavailable("the file system does not work");
        }
        const Connection connection;
        const std::vector<Channel> channels(60);
        for (const Channel& channel : channels) {
            channel.sendHalf(connection.target());
            std::thread([&] { recv(channel.theirs.get(), buffer, kBytes, 0); }).detach();
            // It has the lock once it has taken the message.
            for (int unread = 1; unread > 0;) {
                ioctl(channel.theirs.get(), SIOCINQ, &unread);
            }
            connection.give(channel);
            channel.sendHalf(connection.target());
        }
        Processes::ready();
        stay();
    });
    client.awaitReady();
    std::this_thread::sleep_for(length);
    server.kill();
    files.giveUp();
    client.kill();
}

}  // namespace orva::attack
