/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>
#include <memory>

#include <onnxruntime_cxx_api.h>

namespace orva::reference {

// Outlives what one model has the engine do. Where the engine would end the process, as its checks
// of spans and casts do when a model that is wrong gets past all others, and its code where it has
// none, its work for the model ends instead: on the thread where that happens, on all others that
// are in the engine for the same model, and on those that the engine keeps for it. What it had
// under way stays behind, memory among it, so that the model must be left as it is. A full stack is
// not outlived, nor what the engine has written elsewhere by then.
class EngineGuard {
public:
    EngineGuard();
    ~EngineGuard();
    EngineGuard(const EngineGuard&) = delete;
    EngineGuard& operator=(const EngineGuard&) = delete;

    // Has the threads that the engine will keep for a model covered. The guard must outlive it.
    void Cover(Ort::SessionOptions& options);

    // Has the engine do something, on this thread. False where that ended, or has before: nothing
    // of the engine then is at work for the model any more. What `work` throws comes through.
    bool Run(const std::function<void()>& work);

private:
    class Crew;
    const std::shared_ptr<Crew> crew_;
};

}  // namespace orva::reference
