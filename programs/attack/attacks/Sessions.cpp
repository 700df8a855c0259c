/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Sessions, listeners and requests, more than one client could need.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <thread>

#include "Attack.h"
#include "Processes.h"
#include "SlowModel.h"
#include "attacks/Attacks.h"
#include "attacks/Clients.h"

namespace orva::attack {

using android::sp;
using android::hardware::hidl_vec;

namespace {

void holdFor(std::chrono::seconds length, Processes& processes) {
    processes.awaitReady();
    std::this_thread::sleep_for(length);
    processes.kill();
}

}  // namespace

void manySessions(std::chrono::seconds length) {
    Processes client(1, [](size_t) {
        const Services services;
        for (int32_t number = 1; number <= 600; ++number) {
            services.ai->Init(number, "echo", "", {}).isOk();
            services.managers->Init(1000 + number, "", "", {}).isOk();
        }
        Processes::ready();
        stay();
    });
    holdFor(length, client);
}

void manyListeners(std::chrono::seconds length) {
    Processes client(1, [](size_t) {
        const Services services;
        const sp<IAIServiceListener> listener = new Listener<IAIServiceListener>([] {});
        for (int32_t number = 1; number <= 600; ++number) {
            services.ai->SetListener(-number, listener).isOk();
        }
        Processes::ready();
        stay();
    });
    holdFor(length, client);
}

void unmappableInits(std::chrono::seconds) {
    Processes(1, [](size_t) {
        const Services services;
        const android::base::unique_fd empty(memfd_create("empty", MFD_CLOEXEC));
        const Sent sent(empty.get(), 4096);
        for (int32_t number = 1; number <= 201; ++number) {
            const hidl_vec<ModelBuffer> models = {sent.model()};
            services.managers->Init(number, "", "", models).isOk();
        }
    }).await();
}

void killedBeforeListener(std::chrono::seconds) {
    constexpr size_t kAtOnce = 20;
    for (size_t killed = 0; killed < 201; killed += kAtOnce) {
        Processes clients(kAtOnce, [](size_t) {
            const Services services;
            services.managers->Init(1, "", "", {}).isOk();
            Processes::ready();
            stay();
        });
        clients.awaitReady();
        clients.kill();
    }
}

void hugeModels(std::chrono::seconds length) {
    Processes(1, [length](size_t) {
        const Services services;
        // Each matrix has 1 GiB.
        const client::Model model = productModel(int64_t{1} << 14, 2);
        onThreads(8, [&] {
            repeat(length / 2, [&] { client::checkCompatibility(*services.managers, model); });
        });
    }).await();
}

void heldRequests(std::chrono::seconds length) {
    Processes client(1, [](size_t) {
        const Services services;
        const android::base::unique_fd region(memfd_create("held", MFD_CLOEXEC));
        if (ftruncate(region.get(), 4096) != 0) {
            throw Unavailable("there is no memory");
        }
        const Sent sent(region.get(), 4096);
        hidl_vec<AITensorHandle> tensors;
        tensors.resize(50);
        for (auto& tensor : tensors) {
            tensor = sent.tensors()[0];
        }
        for (int32_t number = 1; number <= 100; ++number) {
            openEcho(services, number, stay);
            for (int i = 0; i < 10; ++i) {
                services.ai->Process(number, "", tensors, tensors, 0).isOk();
            }
        }
        Processes::ready();
        stay();
    });
    holdFor(length, client);
}

void reusedProcessNumber(std::chrono::seconds) {
    constexpr char kLastPid[] = "/proc/sys/kernel/ns_last_pid";
    constexpr int kTries = 20;
    if (access(kLastPid, W_OK) != 0 || geteuid() != 0) {
        throw Unavailable("only root chooses the number of a process");
    }
    int reused = 0;
    for (int i = 0; i < kTries; ++i) {
        Processes first(1, [](size_t) {
            const Services services;
            openEcho(services, 1, [] {});
            Processes::ready();
            stay();
        });
        first.awaitReady();
        const pid_t number = first.pid(0);
        first.kill();
        std::ofstream(kLastPid) << number - 1;
        Processes second(1, [number](size_t) {
            if (getpid() != number) {
                return;
            }
            const Services services;
            if (services.ai->Process(1, "", {}, {}, 0).withDefault(-1) != 2) {
                throw HostGaveIn("a process was served in the session of a dead one");
            }
        });
        reused += second.pid(0) == number ? 1 : 0;
        second.await();
    }
    if (reused == 0) {
        throw Unavailable("no number was given twice");
    }
}

}  // namespace orva::attack
