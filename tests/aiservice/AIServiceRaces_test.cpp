/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/Settings.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "aiservice/Fakes.h"
#include "support/services/Racing.h"

namespace orva::hidl::test {
namespace {

using android::sp;
using android::hardware::hidl_vec;

class RacingNode : public AIServiceBase {
public:
    explicit RacingNode(Completer& completer) : completer_(completer) {}

    int32_t Init(const AIConfig&, std::vector<AIModelDescription>&) override { return 0; }
    int32_t RegisterListener(const std::shared_ptr<AIServiceListener>& listener) override {
        std::lock_guard<std::mutex> lock(mutex_);
        listener_ = listener;
        return 0;
    }
    int32_t Process(AIContext& context, const std::vector<std::shared_ptr<IAITensor>>&,
                    const std::vector<std::shared_ptr<IAITensor>>& outputs, int32_t) override {
        std::lock_guard<std::mutex> lock(mutex_);
        if (listener_ == nullptr) {
            return 3;
        }
        completer_.Post(
                [=, listener = listener_] { listener->OnProcessDone(context, 0, outputs); });
        return 0;
    }

private:
    Completer& completer_;
    std::mutex mutex_;
    std::shared_ptr<AIServiceListener> listener_;
};

using CountingListener = CountingListenerOf<IAIServiceListener>;
using AIServiceRaces = ::orva::test::ResourceTest;

// Clients that open, ask and go in every way there is, while their results arrive and others evict
// them: what is accepted is delivered or dropped, and nothing is left in the end.
TEST_F(AIServiceRaces, CompletionsMeetTheEndOfTheirSession) {
    constexpr size_t kClients = 6, kRounds = 150, kRequests = 4;
    const sp<AIServiceHIDL> service = AIServiceHIDL::GetInstance();
    LogCapture log;
    std::atomic<size_t> accepted{0};
    std::mutex listenersMutex;
    std::vector<sp<CountingListener>> listeners;
    {
        Completer completer(3);
        reference::RegisterNode("racing", [&] { return std::make_shared<RacingNode>(completer); });
        // Fewer places than clients, and nobody keeps one for certain.
        reference::SetClientLimit(kClients - 2);
        reference::SetIdleTimeout(std::chrono::nanoseconds(0));

        std::vector<std::thread> clients;
        for (size_t client = 0; client < kClients; ++client) {
            clients.emplace_back([&, client] {
                // Two processes with clients of the same numbers.
                callerPid = 1000 + static_cast<int>(client % 2);
                const int32_t number = 1 + static_cast<int32_t>(client / 2);
                ::orva::test::Region region(100);
                AITensorHandle handle = TensorIn(region);
                hidl_vec<AITensorHandle> tensors;
                tensors.setToExternal(&handle, 1);
                for (size_t round = 0; round < kRounds; ++round) {
                    const sp<CountingListener> listener = new CountingListener;
                    // Eviction may have left nothing to serve; then nothing is accepted.
                    if (service->Init(number, "racing", "", {}) != 0) {
                        continue;
                    }
                    const int32_t set = service->SetListener(-number, listener);
                    (void)static_cast<int32_t>(service->SetListener(number, nullptr));
                    for (size_t request = 0; request < kRequests; ++request) {
                        if (service->Process(number, "", tensors, tensors, 0) == 0) {
                            ++accepted;
                        }
                    }
                    if (round % 2 == 0 && set == 0) {
                        listener->recipient->serviceDied(0x3456, nullptr);
                    } else {
                        service->UnInit(number);
                    }
                    std::lock_guard<std::mutex> lock(listenersMutex);
                    listeners.push_back(listener);
                }
            });
        }
        for (std::thread& client : clients) {
            client.join();
        }
        reference::UnregisterNode("racing");
        reference::SetClientLimit(512);
        reference::SetIdleTimeout(std::chrono::minutes(10));
        // An eviction between Init and SetListener leaves a listener behind, which goes with the
        // next session.
        for (size_t client = 0; client < kClients; ++client) {
            callerPid = 1000 + static_cast<int>(client % 2);
            service->Init(1 + static_cast<int32_t>(client / 2), "echo", "", {});
            service->UnInit(1 + static_cast<int32_t>(client / 2));
        }
        callerPid = 0;
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
}

}  // namespace
}  // namespace orva::hidl::test
