/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

namespace ai {

// Which part of the system an event is about.
enum AiStatsEngineType : int {
    AI_STATS_ENGINE_NONE = 0,
    AI_STATS_ENGINE_MODEL_MANAGER = 1,
};

// Records usage events. A builder is used by one thread at a time; different ones are independent.
class AiStatsLogBuilder {
public:
    // Records one event at once: who (`uid`, `processName`) used what (`type`, `key`). Both texts
    // are copied. The meaning of `value` is the key's.
    void Stats(unsigned uid, AiStatsEngineType type, const char* key, const char* processName,
               int value);
};

}  // namespace ai
