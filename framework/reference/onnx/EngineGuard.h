/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>

namespace orva::reference {

// Has the engine do something on this thread. Where the engine would end the process, as its checks
// of spans and casts do when a model that is wrong gets past all others, and its code where it has
// none, the answer is false instead. What the engine had under way then stays behind, memory among
// it, so that the model is of no further use and must be left as it is. What `work` throws comes
// through. Threads of the engine's own are not covered, nor is a full stack.
bool GuardEngine(const std::function<void()>& work);

}  // namespace orva::reference
