/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <functional>

#include <orva/AIModelManager.h>

namespace orva::reference {

// Makes a model manager, which the caller owns, or null. May throw; that counts as null.
using ModelManagerCreator = std::function<AIModelManager*()>;

// Replaces what AIModelManagerFactory makes from now on; an empty creator brings the reference
// model manager back. May be called from any thread; a creator runs without a lock held.
void SetModelManagerCreator(ModelManagerCreator creator);

}  // namespace orva::reference
