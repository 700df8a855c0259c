/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Calls and callbacks that take as long as they can be made to.

#include <unistd.h>

#include <atomic>
#include <thread>

#include "Processes.h"
#include "SlowModel.h"
#include "attacks/Attacks.h"
#include "attacks/Clients.h"

namespace orva::attack {

namespace {

// Has it go on for as long, whatever hangs, and then end as a process that is killed.
void forSoLong(std::chrono::seconds length, Processes& processes) {
    std::this_thread::sleep_for(length);
    processes.kill();
}

void checkSlowModel(const Services& services) {
    client::checkCompatibility(*services.managers, productModel(kSlowSide, kSlowCount));
}

}  // namespace

void nestedCalls(std::chrono::seconds length) {
    Processes crowd(16, [](size_t) {
        const Services services;
        for (;;) {
            openManager(services, 1, [] {});
            services.managers->UnInit(1).isOk();
        }
    });
    Processes caller(1, [](size_t) {
        const Services services;
        openManager(services, 1, [&services] { services.ai->UnInit(1000).isOk(); });
        for (;;) {
            askManager(services, 1);
        }
    });
    std::this_thread::sleep_for(length);
}

void slowChecks(std::chrono::seconds length) {
    Processes client(1, [](size_t) {
        const Services services;
        onThreads(8, [&services] { checkSlowModel(services); });
    });
    forSoLong(length, client);
}

// In as many sessions as the framework has threads for requests, and more.
void slowRequests(std::chrono::seconds length) {
    Processes client(1, [](size_t) {
        const Services services;
        // Fast enough to be loaded, and then asked again and again.
        constexpr int kCount = 20;
        std::vector<client::Model> models;
        models.push_back(productModel(kSlowSide, kCount));
        std::vector<client::Tensor> inputs, outputs;
        inputs.push_back(squareTensor(kSlowSide));
        outputs.push_back(squareTensor(kSlowSide));
        onThreads(8, [&] {
            static std::atomic<int32_t> last{0};
            const int32_t number = ++last;
            const android::sp<IAIServiceListener> listener =
                    new Listener<IAIServiceListener>([] {});
            services.ai->Init(number, "onnx", "", client::buffersOf(models)).isOk();
            services.ai->SetListener(-number, listener).isOk();
            services.ai->SetListener(number, nullptr).isOk();
            for (int i = 0; i < 100; ++i) {
                services.ai
                        ->Process(number, "", client::handlesOf(inputs), client::handlesOf(outputs),
                                  0)
                        .isOk();
            }
        });
        stay();
    });
    forSoLong(length, client);
}

void slowCallInCallback(std::chrono::seconds length) {
    Processes client(1, [](size_t) {
        const Services services;
        openManager(services, 1, [&services] {
            for (;;) {
                checkSlowModel(services);
            }
        });
        askManager(services, 1);
        stay();
    });
    forSoLong(length, client);
}

void unansweredCallbacks(std::chrono::seconds length) {
    // One that does nothing else; one that leaves more callbacks unanswered than are made at once;
    // and one that keeps its model manager's listener busy besides, and reads nothing.
    Processes idle(1, [](size_t) {
        const Services services;
        for (int32_t number = 1; number <= 10; ++number) {
            openManager(services, number, stay);
            askManager(services, number);
        }
        stay();
    });
    Processes many(1, [](size_t) {
        const Services services;
        for (int32_t number = 1; number <= 40; ++number) {
            openEcho(services, number, stay);
            services.ai->Process(number, "", {}, {}, 0).isOk();
        }
        openManager(services, 100, stay);
        askManager(services, 100);
        stay();
    });
    Processes busy(1, [](size_t) {
        const Services services;
        openEcho(services, 1, stay);
        services.ai->Process(1, "", {}, {}, 0).isOk();
        openManager(services, 1, stay);
        askManager(services, 1);
        onThreads(10, [&services] {
            const android::sp<IModelManagerListener> listener =
                    new Listener<IModelManagerListener>([] {});
            for (int32_t number = -2;; --number) {
                services.managers->SetListener(number, listener).isOk();
            }
        });
    });
    std::this_thread::sleep_for(length);
    for (Processes* const client : {&idle, &many, &busy}) {
        client->kill();
    }
}

}  // namespace orva::attack
