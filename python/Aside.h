/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>

namespace orva::python {

// Has `call`, which may take for ever, made on a thread of its own, waits for it and throws what it
// throws. `look` is called every now and then meanwhile, on this thread. Once it throws, nobody
// waits any more: the call goes on alone, so that it must own all that it touches.
void callAside(std::function<void()> call, const std::function<void()>& look);

// The same for a call that nobody waits for in the first place. What it throws is lost.
void leaveAside(std::function<void()> call);

// Waits for the calls that nobody waited for. To be called when the runtime has been stopped, for
// then all of them end.
void joinCallsAside();

}  // namespace orva::python
