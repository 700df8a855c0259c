/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What the host writes for a client or because of one.

#include <fcntl.h>
#include <unistd.h>

#include <thread>

#include "Attack.h"
#include "Processes.h"
#include "attacks/Attacks.h"
#include "attacks/Clients.h"

namespace orva::attack {

void fullPipeDumps(std::chrono::seconds length) {
    Processes client(1, [](size_t) {
        const Services services;
        int ends[2];
        if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
            throw Unavailable("there are no descriptors");
        }
        while (write(ends[1], "full", 4) > 0) {
        }
        // Whoever writes next waits for somebody to read.
        fcntl(ends[1], F_SETFL, 0);
        native_handle_t* const handle = native_handle_create(1, 0);
        handle->data[0] = ends[1];
        onThreads(20, [&] {
            for (;;) {
                services.ai->debug(handle, {}).isOk();
            }
        });
    });
    std::this_thread::sleep_for(length);
}

void forgedLogLines(std::chrono::seconds) {
    Processes(1, [](size_t) {
        const Services services;
        const std::string forged =
                "x\"\nFORGED E 11-22 00:00:00 1 1 Init(1)::\"no such thing\"\n"
                "\x1b[31mFORGED\x1b[0m\r";
        services.ai->Init(1, forged, forged, {}).isOk();
        services.managers->Init(1, forged, forged, {}).isOk();
        services.managers->UnInit(1).isOk();
        openEcho(services, 2, [] {});
        services.ai->Process(2, forged, {}, {}, 0).isOk();
        services.ai->debug(android::hardware::hidl_handle(), {forged}).isOk();
    }).await();
}

void logFlood(std::chrono::seconds length) {
    Processes(1, [length](size_t) {
        const Services services;
        const std::string type(500, 'a');
        onThreads(4, [&] { repeat(length, [&] { services.ai->Init(1, type, "", {}).isOk(); }); });
    }).await();
}

}  // namespace orva::attack
