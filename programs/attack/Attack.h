/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>
#include <vector>

namespace orva::attack {

// One way in which client processes misbehave towards a running host.
struct Attack {
    const char* name;
    const char* what;  // one line
    // Comes back when it is over. What goes on until it is stopped lasts as long as is said. Must
    // not have used the runtime in this process, whose children the clients are.
    void (*run)(std::chrono::seconds length);
};

// All of them, in the order of the list.
const std::vector<Attack>& attacks();

// This machine has not what an attack needs.
class Unavailable : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The host did what it must not do.
class HostGaveIn : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace orva::attack
