/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <memory>
#include <string>

namespace orva {

// Counts the clients of all services of the process, and knows when each was last heard of. A
// client is its service id. Every operation may be called from any thread.
class AIServiceConnectManager {
public:
    static AIServiceConnectManager* GetInstance();
    AIServiceConnectManager(const AIServiceConnectManager&) = delete;
    AIServiceConnectManager& operator=(const AIServiceConnectManager&) = delete;

    // True while another client may be admitted.
    bool CheckServiceNum();
    // The id of a client whose idle time has run out; empty when there is none. Of several, the
    // one that has been idle longest.
    std::string GetTimeoutServiceId();
    // Marks an id as used now; an id not yet known is counted from here on.
    void UpdateServiceTime(std::string serviceId);
    // Forgets an id; an unknown id is left alone.
    void RemoveServiceTime(std::string serviceId);

private:
    AIServiceConnectManager();
    ~AIServiceConnectManager();

    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace orva
