/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/Settings.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "ServiceUnderTest.h"
#include "support/ResourceTest.h"
#include "support/services/Racing.h"

namespace orva::hidl::test {
namespace {

using android::sp;
using android::hardware::hidl_vec;
using CountingListener = CountingListenerOf<ClientInterface>;
using Races = ::orva::test::ResourceTest;

constexpr size_t kClients = 6, kRounds = 100, kRequests = 3;

// Two processes with clients of the same numbers.
int PidOf(size_t client) {
    return 1000 + static_cast<int>(client % 2);
}
int32_t NumberOf(size_t client) {
    return 1 + static_cast<int32_t>(client / 2);
}

// Clients that open, ask and go in every way there is, also from inside their callbacks, while
// their results arrive and others evict them: what is accepted is delivered or dropped, and nothing
// is left in the end.
TEST_F(Races, CompletionsMeetTheEndOfTheirSession) {
    const sp<Service> service = Service::GetInstance();
    LogCapture log;
    std::atomic<size_t> accepted{0};
    std::mutex listenersMutex;
    std::vector<sp<CountingListener>> listeners;
    const auto play = [&](size_t client) {
        const int pid = callerPid = PidOf(client);
        const int32_t number = NumberOf(client);
        ::orva::test::Region region(100);
        AITensorHandle handle = TensorIn(region);
        hidl_vec<AITensorHandle> tensors;
        tensors.setToExternal(&handle, 1);
        for (size_t round = 0; round < kRounds; ++round) {
            const sp<CountingListener> listener = new CountingListener;
            if (round % 3 == 0) {
                listener->during = [&, pid, number] {
                    const int own = std::exchange(callerPid, pid);
                    service->UnInit(number);
                    callerPid = own;
                };
            }
            if (service->Init(number, kType, "", {}) != 0) {
                continue;
            }
            const int32_t set = service->SetListener(-number, listener);
            // Eviction may have left nothing to serve; then nothing is accepted.
            (void)static_cast<int32_t>(service->SetListener(number, nullptr));
            for (size_t request = 0; request < kRequests; ++request) {
                accepted += service->Process(number, "", tensors, tensors, 0) == 0 ? 1 : 0;
                accepted += RaceOn(*service, number, tensors);
            }
            if (round % 2 == 0 && set == 0) {
                listener->recipient->serviceDied(0, nullptr);
            } else {
                service->UnInit(number);
            }
            std::lock_guard<std::mutex> lock(listenersMutex);
            listeners.push_back(listener);
        }
    };
    {
        Completer completer(3);
        SetCreator([&] { return new RacingFramework(completer); });
        // Fewer places than clients, and nobody keeps one for certain.
        reference::SetClientLimit(kClients - 2);
        reference::SetIdleTimeout(std::chrono::nanoseconds(0));
        std::vector<std::thread> clients;
        for (size_t client = 0; client < kClients; ++client) {
            clients.emplace_back(play, client);
        }
        for (std::thread& client : clients) {
            client.join();
        }
        reference::SetClientLimit(512);
        reference::SetIdleTimeout(std::chrono::minutes(10));
        // An eviction between Init and SetListener leaves a listener behind, which goes with the
        // next session.
        for (size_t client = 0; client < kClients; ++client) {
            callerPid = PidOf(client);
            (void)static_cast<int32_t>(service->Init(NumberOf(client), kType, "", {}));
            service->UnInit(NumberOf(client));
        }
        callerPid = 0;
        SetCreator(nullptr);
        // The completer's end waits for the completions that are still to come.
    }
    size_t delivered = 0;
    for (const auto& listener : listeners) {
        delivered += listener->delivered;
        EXPECT_EQ(1, listener->getStrongCount());
    }
    size_t dropped = 0;
    for (const LogLine& line : log.Take(ANDROID_LOG_ERROR)) {
        dropped += line.message.find("OnProcessDone not find the listener") != std::string::npos;
    }
    EXPECT_LT(0U, accepted);
    EXPECT_EQ(accepted, delivered + dropped);
    EXPECT_EQ(0U, reference::ClientCount());
}

}  // namespace
}  // namespace orva::hidl::test
