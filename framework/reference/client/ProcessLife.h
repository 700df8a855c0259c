/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <sys/types.h>

namespace orva::reference {

// Whether a process still lives. Its number alone would not tell, for another process may get that.
// May be used from any thread.
class ProcessLife {
public:
    // The process that has the number now; 0 is nobody, who never ends.
    explicit ProcessLife(pid_t pid);
    ~ProcessLife();
    ProcessLife(const ProcessLife&) = delete;
    ProcessLife& operator=(const ProcessLife&) = delete;

    pid_t pid() const { return pid_; }
    // One that nobody has waited for yet has ended, too. On a kernel without pidfds such a one
    // counts as living, and so does one whose number another process has got.
    bool HasEnded() const;

private:
    const pid_t pid_;
    const int pidfd_;  // below 0 where there is none
};

}  // namespace orva::reference
