/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>

namespace orva::attack {

// Regions that are not what they seem, or do not stay so.
void shrinkSparseRegion(std::chrono::seconds length);
void shrinkHugePageRegion(std::chrono::seconds length);
void foreignRegions(std::chrono::seconds length);
void silentFiles(std::chrono::seconds length);

// Calls and callbacks that take for ever.
void nestedCalls(std::chrono::seconds length);
void slowChecks(std::chrono::seconds length);
void slowRequests(std::chrono::seconds length);
void slowCallInCallback(std::chrono::seconds length);
void unansweredCallbacks(std::chrono::seconds length);

// Sessions, and what stands for them.
void manySessions(std::chrono::seconds length);
void manyListeners(std::chrono::seconds length);
void unmappableInits(std::chrono::seconds length);
void killedBeforeListener(std::chrono::seconds length);
void hugeModels(std::chrono::seconds length);
void heldRequests(std::chrono::seconds length);
void reusedProcessNumber(std::chrono::seconds length);

// Below the interfaces.
void manyConnections(std::chrono::seconds length);
void halfMessages(std::chrono::seconds length);
void heldChannels(std::chrono::seconds length);

// What the host writes.
void fullPipeDumps(std::chrono::seconds length);
void forgedLogLines(std::chrono::seconds length);
void logFlood(std::chrono::seconds length);

}  // namespace orva::attack
