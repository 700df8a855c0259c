/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <string>

#include <gtest/gtest.h>

#include "support/ChildProcess.h"

namespace orva_test {

// A process of the program probe_peer, with its own end of a connection under test.
class PeerProcess : public orva::test::ChildProcess {
public:
    // Runs it with these arguments and waits until it says that it is ready.
    template <typename... Words>
    explicit PeerProcess(const Words&... words) : ChildProcess({PROBE_PEER, words...}) {
        EXPECT_EQ("ready", readLine());
    }

    // The next line of its output; empty when it ends without one.
    std::string readLine() { return output().next().value_or(""); }
};

}  // namespace orva_test
