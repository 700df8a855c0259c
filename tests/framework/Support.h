/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstring>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <orva/AINeuralNetworkBuffer.h>
#include <orva/AIServiceListener.h>

namespace orva::test {

// How long anything may take that should happen at once.
constexpr std::chrono::seconds kWatchdog{30};

// A flag that threads wait for.
class Flag {
public:
    void Raise() {
        std::call_once(once_, [this] { raised_.set_value(); });
    }
    // False when the watchdog bites.
    bool Await() { return future_.wait_for(kWatchdog) == std::future_status::ready; }

private:
    std::once_flag once_;
    std::promise<void> raised_;
    const std::shared_future<void> future_{raised_.get_future()};
};

// A buffer tensor over memory of its own.
class TestTensor : public AINeuralNetworkBuffer {
public:
    TestTensor(int dataType, std::vector<uint8_t> bytes, std::string type = "AINeuralNetworkBuffer")
            : bytes_(std::move(bytes)), type_(std::move(type)) {
        SetBuffer(bytes_.data(), static_cast<int>(bytes_.size()), false);
        SetData_type(dataType);
    }

    bool Init(const AITensorDescription&) override { return true; }
    const char* GetTypeName() override { return type_.c_str(); }
    uint32_t GetSerializeSize() override { return 0; }
    uint32_t SerializeTo(void*, uint32_t) override { return 1; }
    uint32_t DeserializeFrom(const void*, uint32_t) override { return 1; }

    const std::vector<uint8_t>& bytes() const { return bytes_; }

private:
    std::vector<uint8_t> bytes_;
    std::string type_;
};

using Tensors = std::vector<std::shared_ptr<IAITensor>>;

inline std::shared_ptr<TestTensor> Bytes(std::vector<uint8_t> bytes) {
    return std::make_shared<TestTensor>(AI_DATA_TYPE_UINT8, std::move(bytes));
}

inline std::shared_ptr<TestTensor> Floats(const std::vector<float>& values) {
    std::vector<uint8_t> bytes(values.size() * sizeof(float));
    std::memcpy(bytes.data(), values.data(), bytes.size());
    return std::make_shared<TestTensor>(AI_DATA_TYPE_FLOAT32, std::move(bytes));
}

// Keeps what a node or a model manager reports.
template <class Listener>
class RecorderOf : public Listener {
public:
    struct Completion {
        std::string tag;  // the context's parameter of that name
        int32_t result;
        Tensors outputs;
    };

    void OnProcessDone(const AIContext& context, int32_t result, const Tensors& outputs) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        completions_.push_back({context.GetPara("tag"), result, outputs});
        changed_.notify_all();
    }
    void OnServiceDied() override {}

    // The completions once there are so many of them; fewer when the watchdog bites.
    std::vector<Completion> Await(size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, kWatchdog, [&] { return completions_.size() >= count; });
        return completions_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Completion> completions_;
};
using Recorder = RecorderOf<AIServiceListener>;

}  // namespace orva::test
