/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/Settings.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "modelmanager/Fakes.h"
#include "support/services/Racing.h"

namespace orva::hidl::test {
namespace {

using android::sp;
using android::hardware::hidl_vec;

class RacingManager : public AIModelManager {
public:
    explicit RacingManager(Completer& completer) : completer_(completer) {}

    int32_t Init(const AIConfig&, std::vector<AIModelDescription>&) override { return 0; }
    int32_t Process(AIContext& context, const std::vector<std::shared_ptr<IAITensor>>&,
                    const std::vector<std::shared_ptr<IAITensor>>& outputs, int32_t) override {
        return Complete(context, outputs);
    }
    int32_t RegisterListener(const std::shared_ptr<AIModelManagerListener>& listener) override {
        std::lock_guard<std::mutex> lock(mutex_);
        listener_ = listener;
        return 0;
    }
    int32_t GetModelIOTensorDim(const std::string&, std::vector<AIModelIOTensor>& inputs,
                                std::vector<AIModelIOTensor>&) override {
        inputs.resize(1);
        return 0;
    }
    int32_t CheckModelCompatibility(const AIModelDescription&) override { return 0; }
    int32_t GetMaxUsedMemory() override { return 0; }
    int32_t BuildModel(int32_t, const std::vector<MappedBuffer>&, const MappedBuffer& output,
                       uint32_t& size) override {
        size = output.length;
        return 0;
    }
    int32_t CheckModelValid() override { return 0; }
    int32_t SetInputsAndOutputs(AIContext&, const std::vector<std::shared_ptr<IAITensor>>&,
                                const std::vector<std::shared_ptr<IAITensor>>& outputs) override {
        std::lock_guard<std::mutex> lock(mutex_);
        outputs_ = outputs;
        return 0;
    }
    int32_t StartCompute(AIContext& context) override {
        std::vector<std::shared_ptr<IAITensor>> outputs;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            outputs.swap(outputs_);
        }
        return outputs.empty() ? 3 : Complete(context, outputs);
    }

private:
    int32_t Complete(const AIContext& context,
                     const std::vector<std::shared_ptr<IAITensor>>& outputs) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (listener_ == nullptr) {
            return 3;
        }
        completer_.Post(
                [=, listener = listener_] { listener->OnProcessDone(context, 0, outputs); });
        return 0;
    }

    Completer& completer_;
    std::mutex mutex_;
    std::shared_ptr<AIModelManagerListener> listener_;
    std::vector<std::shared_ptr<IAITensor>> outputs_;
};

using CountingListener = CountingListenerOf<IModelManagerListener>;
using ModelManagerRaces = ::orva::test::ResourceTest;

// Clients that open, ask, build and go in every way there is, also from inside their callbacks,
// while their results arrive and others evict them: what is accepted is delivered or dropped, and
// nothing is left in the end.
TEST_F(ModelManagerRaces, CompletionsMeetTheEndOfTheirSession) {
    constexpr size_t kClients = 6, kRounds = 100, kRequests = 3;
    const sp<ModelManagerServiceHIDL> service = ModelManagerServiceHIDL::GetInstance();
    LogCapture log;
    std::atomic<size_t> accepted{0};
    std::mutex listenersMutex;
    std::vector<sp<CountingListener>> listeners;
    {
        Completer completer(3);
        reference::SetModelManagerCreator([&] { return new RacingManager(completer); });
        // Fewer places than clients, and nobody keeps one for certain.
        reference::SetClientLimit(kClients - 2);
        reference::SetIdleTimeout(std::chrono::nanoseconds(0));

        const auto play = [&](size_t client) {
            // Two processes with clients of the same numbers.
            const int pid = callerPid = 1000 + static_cast<int>(client % 2);
            const int32_t number = 1 + static_cast<int32_t>(client / 2);
            ::orva::test::Region region(100);
            AITensorHandle handle = TensorIn(region);
            hidl_vec<AITensorHandle> tensors;
            tensors.setToExternal(&handle, 1);
            const ModelBuffer model = Model("", &region, 100);
            for (size_t round = 0; round < kRounds; ++round) {
                const sp<CountingListener> listener = new CountingListener;
                if (round % 3 == 0) {
                    listener->during = [&, pid, number] {
                        const int own = std::exchange(callerPid, pid);
                        service->UnInit(number);
                        callerPid = own;
                    };
                }
                if (service->Init(number, "racing", "", {}) != 0) {
                    continue;
                }
                const int32_t set = service->SetListener(-number, listener);
                // Eviction may have left nothing to serve; then nothing is accepted.
                (void)static_cast<int32_t>(service->SetListener(number, nullptr));
                for (size_t request = 0; request < kRequests; ++request) {
                    (void)static_cast<int32_t>(
                            service->SetInputsAndOutputs(number, "", tensors, tensors));
                    accepted += service->StartCompute(number, "") == 0 ? 1 : 0;
                    accepted += service->Process(number, "", tensors, tensors, 0) == 0 ? 1 : 0;
                }
                service->GetModelIOTensorDim(number, "", [](const auto&, const auto&, int32_t) {});
                service->BuildModel(number, "", 0, {model}, model, [](uint32_t, int32_t) {});
                if (round % 2 == 0 && set == 0) {
                    listener->recipient->serviceDied(0x5678, nullptr);
                } else {
                    service->UnInit(number);
                }
                std::lock_guard<std::mutex> lock(listenersMutex);
                listeners.push_back(listener);
            }
        };
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
            callerPid = 1000 + static_cast<int>(client % 2);
            const int32_t number = 1 + static_cast<int32_t>(client / 2);
            (void)static_cast<int32_t>(service->Init(number, "", "", {}));
            service->UnInit(number);
        }
        callerPid = 0;
        // The completer's end waits for the completions that are still to come.
    }
    reference::SetModelManagerCreator(nullptr);
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
