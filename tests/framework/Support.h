/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <csignal>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <orva/AINeuralNetworkBuffer.h>
#include <orva/AIServiceListener.h>

#include "support/Eventually.h"

namespace orva::test {

// Waits for another thread to set it. False when the watchdog bites.
inline bool Await(const std::atomic<bool>& flag) {
    return eventually([&] { return flag.load(); });
}

// A process that does nothing until it is ended, and then is waited for or not.
class Child {
public:
    Child() : pid_(fork()) {
        if (pid_ == 0) {
            for (;;) {
                pause();
            }
        }
    }
    ~Child() {
        End();
        waitpid(pid_, nullptr, 0);
    }
    pid_t pid() const { return pid_; }
    void End() const { kill(pid_, SIGKILL); }
    void AwaitEnd() const {
        End();
        siginfo_t info;
        waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT);
    }

private:
    const pid_t pid_;
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

template <class Element>
std::shared_ptr<TestTensor> TensorOf(int dataType, const std::vector<Element>& values) {
    const auto* const bytes = reinterpret_cast<const uint8_t*>(values.data());
    return std::make_shared<TestTensor>(
            dataType, std::vector<uint8_t>(bytes, bytes + values.size() * sizeof(Element)));
}
inline std::shared_ptr<TestTensor> Floats(const std::vector<float>& values) {
    return TensorOf(AI_DATA_TYPE_FLOAT32, values);
}

// Keeps what a node or a model manager reports.
template <class Listener>
class RecorderOf : public Listener {
public:
    struct Completion {
        std::string tag;  // the context's parameter of that name
        int32_t result;
        AIContext context;
    };

    void OnProcessDone(const AIContext& context, int32_t result, const Tensors&) override {
        const std::lock_guard<std::mutex> lock(mutex_);
        completions_.push_back({context.GetPara("tag"), result, context});
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
