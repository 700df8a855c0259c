/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstddef>

#include <onnxruntime_cxx_api.h>

namespace orva::reference {

// The engine's state that all models of the process share, made with the first one, or by
// PrepareEngine, and there as long as the process.
struct Environment {
    static Environment& Get();

    Ort::Env env;
    const Ort::MemoryInfo memory;
    // Counts to the scope that it is used in; see EngineMemoryScope.
    OrtAllocator* const allocator;

private:
    Environment();
};

// The engine's version, as what is built with it names it.
const char* EngineVersion();

// Threads that the engine starts beside those that run requests, taken from what the process has
// of them and given back at the end: twice as many as it has processors.
class EngineThreads {
public:
    // As many of those asked for as there are left.
    explicit EngineThreads(size_t wanted);
    ~EngineThreads();
    EngineThreads(const EngineThreads&) = delete;
    EngineThreads& operator=(const EngineThreads&) = delete;

    size_t count() const { return count_; }

private:
    const size_t count_;
};

}  // namespace orva::reference
