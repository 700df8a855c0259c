/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Regions that are not what they seem, or do not stay so.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <thread>

#include "Attack.h"
#include "Processes.h"
#include "attacks/Attacks.h"
#include "attacks/Clients.h"

namespace orva::attack {

using android::base::unique_fd;

namespace {

constexpr uint64_t kBytes = 64;

// Sends it as input and output of requests that wait behind one whose result is not taken, takes
// its memory away, and then has the requests run.
void shrinkInUse(int region, uint64_t size) {
    const Services services;
    openEcho(services, 1, [] { std::this_thread::sleep_for(std::chrono::milliseconds(200)); });
    const Sent sent(region, size);
    for (int i = 0; i < 10; ++i) {
        services.ai->Process(1, "", sent.tensors(), sent.tensors(), 0).isOk();
    }
    if (ftruncate(region, 0) != 0) {
        throw Unavailable("the region does not shrink");
    }
    std::this_thread::sleep_for(std::chrono::seconds(1));
}

}  // namespace

void shrinkSparseRegion(std::chrono::seconds length) {
    // A tensor's size has 32 bits, and that of this region is some bytes in them.
    constexpr uint64_t k4GiB = uint64_t{1} << 32;
    const uint64_t memory = static_cast<uint64_t>(sysconf(_SC_PHYS_PAGES)) *
                            static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    const uint64_t size = (memory / k4GiB + 2) * k4GiB + kBytes;
    Processes(4, [size, length](size_t) {
        repeat(length / 2, [size] {
            const unique_fd region(memfd_create("sparse", MFD_CLOEXEC));
            if (ftruncate(region.get(), static_cast<off_t>(size)) == 0) {
                shrinkInUse(region.get(), size);
            }
        });
    }).await();
}

void shrinkHugePageRegion(std::chrono::seconds) {
    constexpr size_t kPage = size_t{2} << 20;
    const unique_fd region(memfd_create("huge pages", MFD_CLOEXEC | MFD_HUGETLB));
    const bool made = region.get() >= 0 && ftruncate(region.get(), 2 * kPage) == 0;
    void* const address =
            !made ? MAP_FAILED
                  : mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_SHARED, region.get(), 0);
    if (address == MAP_FAILED) {
        throw Unavailable("the machine has no huge pages to give; see /proc/sys/vm/nr_hugepages");
    }
    munmap(address, 2 * kPage);
    Processes(1, [&region](size_t) { shrinkInUse(region.get(), 2 * kPage); }).await();
}

void foreignRegions(std::chrono::seconds length) {
    Processes(1, [length](size_t) {
        const Services services;
        openEcho(services, 1, [] {});
        openManager(services, 1, [] {});
        int ends[2];
        int sockets[2];
        char path[] = "/tmp/orva-attack-XXXXXX";
        const unique_fd file(mkstemp(path));
        unlink(path);
        if (pipe2(ends, O_CLOEXEC) != 0 || ftruncate(file.get(), 4096) != 0 ||
            socketpair(AF_UNIX, SOCK_STREAM, 0, sockets) != 0) {
            throw Unavailable("there are no descriptors");
        }
        const unique_fd descriptors[] = {unique_fd(dup(file.get())),
                                         unique_fd(ends[0]),
                                         unique_fd(ends[1]),
                                         unique_fd(sockets[0]),
                                         unique_fd(sockets[1]),
                                         unique_fd(open("/dev/zero", O_RDWR | O_CLOEXEC)),
                                         unique_fd(open("/proc/self/mem", O_RDWR | O_CLOEXEC)),
                                         unique_fd(open("/", O_PATH | O_CLOEXEC))};
        repeat(length, [&] {
            for (const unique_fd& descriptor : descriptors) {
                const Sent sent(descriptor.get(), kBytes);
                services.ai->Process(1, "", sent.tensors(), sent.tensors(), 0).isOk();
                const android::hardware::hidl_vec<ModelBuffer> models = {sent.model()};
                services.managers->Init(2, "", "", models).isOk();
                services.managers->UnInit(2).isOk();
                services.managers->CheckModelCompatibility(1, sent.model()).isOk();
            }
        });
    }).await();
}

}  // namespace orva::attack
