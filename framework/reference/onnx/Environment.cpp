/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/Environment.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <thread>

#include <orva/reference/Settings.h>

#include "base/Log.h"
#include "onnx/EngineMemory.h"

namespace orva::reference {

namespace {

// The engine's makers have it report its use to them, from files that it keeps in the user's home,
// unless this is set when it starts; its own interface turns that off only afterwards. Set while
// the library is loaded, when no other thread can be reading the environment.
[[maybe_unused]] const int reportsNothing = setenv("ORT_DISABLE_TELEMETRY", "1", 1);

// What the engine says besides its answers, which are logged where they are taken.
void Log(void*, OrtLoggingLevel, const char*, const char*, const char*, const char* message) {
    ORVA_LOGE("%s", OneLine(message).c_str());
}

std::atomic<size_t> threadsTaken{0};

size_t TakeThreads(size_t wanted) {
    const size_t most = 2 * std::max<size_t>(std::thread::hardware_concurrency(), 1);
    size_t taken = threadsTaken;
    size_t count = 0;
    do {
        count = std::min(wanted, most - taken);
    } while (!threadsTaken.compare_exchange_weak(taken, taken + count));
    return count;
}

}  // namespace

Environment::Environment()
        : env(ORT_LOGGING_LEVEL_FATAL, "orva", Log, nullptr),
          memory(Ort::MemoryInfo::CreateCpu(OrtDeviceAllocator, OrtMemTypeDefault)),
          allocator(CountingAllocator(memory)) {
    env.DisableTelemetryEvents();
    env.RegisterAllocator(allocator);
    // The smallest of models, y = Relu(x) of two floats: what the first one takes longer, and more
    // memory.
    constexpr char kModel[] =
            "\x08\x08\x3a\x33\x0a\x0c\x0a\x01x\x12\x01y\x22\x04Relu\x12\x01g"
            "\x5a\x0f\x0a\x01x\x12\x0a\x0a\x08\x08\x01\x12\x04\x0a\x02\x08\x02"
            "\x62\x0f\x0a\x01y\x12\x0a\x0a\x08\x08\x01\x12\x04\x0a\x02\x08\x02"
            "\x42\x04\x0a\x00\x10\x0d";
    Ort::SessionOptions options;
    options.SetIntraOpNumThreads(1);
    const Ort::Session session(env, kModel, sizeof kModel - 1, options);
}

Environment& Environment::Get() {
    // Never destroyed: models may be around as long as the process is.
    static Environment& environment = *new Environment;
    return environment;
}

void PrepareEngine() {
    Environment::Get();
}

const char* EngineVersion() {
    return OrtGetApiBase()->GetVersionString();
}

EngineThreads::EngineThreads(size_t wanted) : count_(TakeThreads(wanted)) {}

EngineThreads::~EngineThreads() {
    threadsTaken -= count_;
}

}  // namespace orva::reference
