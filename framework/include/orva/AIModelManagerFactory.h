/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <orva/AIModelManager.h>

namespace orva {

// Makes model managers. May be called from any thread.
class AIModelManagerFactory {
public:
    static AIModelManagerFactory* Instance();

    // A new model manager, which the caller owns; null when none could be made.
    AIModelManager* createModelManager();
};

}  // namespace orva
