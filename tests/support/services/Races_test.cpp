/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <atomic>
#include <mutex>
#include <thread>

#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

constexpr size_t kClients = 6, kRounds = 60, kRequests = 3;

// Completions under way, each on a thread of its own.
std::mutex completionsMutex;
std::vector<std::future<void>> completions;

struct OwnScript {
    Script script;
};

// A framework object that completes each request whenever its thread gets to it.
class RacingFramework : private OwnScript, public FakeFramework {
public:
    RacingFramework() : FakeFramework(OwnScript::script) {}

    int32_t Process(AIContext& context, const Outputs&, const Outputs& outputs, int32_t) override {
        if (script.listener == nullptr) {
            return 3;
        }
        const std::lock_guard<std::mutex> lock(completionsMutex);
        completions.push_back(std::async(std::launch::async, [=, to = script.listener] {
            to->OnProcessDone(context, 0, outputs);
        }));
        return 0;
    }
};

using Races = ServiceTest;

// Clients that open, ask and go in every way there is, also from inside their callbacks, while
// their results arrive and others evict them: what is accepted is delivered or dropped, and nothing
// is left in the end.
TEST_F(Races, CompletionsMeetTheEndOfTheirSession) {
    service_ = Service::GetInstance();  // whom death recipients know
    heldLocks = nullptr;                // nobody has the time to look
    std::atomic<size_t> accepted{0}, delivered{0};
    const auto play = [&](int32_t client) {
        Region region(100);
        AITensorHandle handle = TensorIn(region);
        Tensors tensors;
        tensors.setToExternal(&handle, 1);
        for (size_t round = 0; round < kRounds; ++round) {
            const sp<FakeListener> listener = new FakeListener;
            listener->during = [&, client, leaves = round % 3 == 0](const Tensors& outputs) {
                delivered += outputs.size();
                if (leaves) {
                    service_->UnInit(client);
                }
            };
            if (Init(client) != 0) {
                continue;
            }
            const int32_t set = service_->SetListener(-client, listener);
            // Eviction may have left nothing to serve; then nothing is accepted.
            service_->SetListener(client, nullptr).isOk();
            for (size_t request = 0; request < kRequests; ++request) {
                accepted += service_->Process(client, "", tensors, tensors, 0) == 0 ? 1 : 0;
            }
            if (round % 2 == 0 && set == 0) {
                listener->recipient->serviceDied(0, nullptr);
            } else {
                service_->UnInit(client);
            }
        }
    };
    SetCreator([] { return new RacingFramework; });
    // Fewer places than clients, and nobody keeps one for certain.
    reference::SetClientLimit(kClients - 2);
    reference::SetIdleTimeout(std::chrono::nanoseconds(0));
    std::vector<std::thread> clients;
    for (size_t client = 1; client <= kClients; ++client) {
        clients.emplace_back(play, static_cast<int32_t>(client));
    }
    for (std::thread& client : clients) {
        client.join();
    }
    reference::SetClientLimit(512);
    // Waits for those that are still to come.
    completions.clear();
    // An eviction between Init and SetListener leaves a listener behind, which goes with the next
    // session.
    for (int32_t client = 1; client <= static_cast<int32_t>(kClients); ++client) {
        EXPECT_EQ(0, Init(client));
        service_->UnInit(client);
    }
    size_t dropped = 0;
    for (const ::orva::test::LogLine& line : log_.Take(ANDROID_LOG_ERROR)) {
        dropped += line.message.find("OnProcessDone not find the listener") != std::string::npos;
    }
    EXPECT_LT(0U, accepted);
    EXPECT_EQ(accepted, delivered + dropped);
}

}  // namespace
}  // namespace orva::hidl::test
