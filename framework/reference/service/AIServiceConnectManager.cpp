/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AIServiceConnectManager.h>

#include <utility>

#include <orva/reference/Settings.h>

#include "service/ConnectionTable.h"
#include "service/ServedSession.h"

namespace orva {

namespace {

reference::ConnectionTable& Table() {
    // Never destroyed: sessions may end while the process exits.
    static auto& table = *new reference::ConnectionTable;
    return table;
}

}  // namespace

struct AIServiceConnectManager::State {
    reference::ConnectionTable& table = Table();
};

AIServiceConnectManager::AIServiceConnectManager() : state_(std::make_unique<State>()) {}
AIServiceConnectManager::~AIServiceConnectManager() = default;

AIServiceConnectManager* AIServiceConnectManager::GetInstance() {
    static AIServiceConnectManager* const instance = new AIServiceConnectManager;
    return instance;
}

bool AIServiceConnectManager::CheckServiceNum() {
    return state_->table.HasRoom();
}

std::string AIServiceConnectManager::GetTimeoutServiceId() {
    return state_->table.TimedOut();
}

void AIServiceConnectManager::UpdateServiceTime(std::string serviceId) {
    reference::ServedSession() = serviceId;
    state_->table.Touch(std::move(serviceId));
}

// The API has it by value. NOLINTNEXTLINE(performance-unnecessary-value-param)
void AIServiceConnectManager::RemoveServiceTime(std::string serviceId) {
    state_->table.Remove(serviceId);
}

namespace reference {

void SetClientLimit(size_t limit) {
    Table().SetLimit(limit);
}
void SetIdleTimeout(std::chrono::nanoseconds timeout) {
    Table().SetTimeout(timeout);
}
void SetClientsWithoutSession(size_t most) {
    Table().SetSpare(most);
}
size_t ClientCount() {
    return Table().Count();
}

}  // namespace reference

}  // namespace orva
