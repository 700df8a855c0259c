/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "executor/Work.h"

#include <gtest/gtest.h>
#include <orva/reference/NodeStatus.h>

#include "Support.h"

namespace orva::reference {
namespace {

using namespace std::chrono_literals;

TEST(Cancellation, TellsEachListenerOnceAndKeepsTheFirstCause) {
    Cancellation cancellation;
    int early = 0, late = 0, gone = 0;
    const Cancellation::Listener first(cancellation, [&] { ++early; });
    {
        const Cancellation::Listener second(cancellation, [&] { ++gone; });
    }
    cancellation.Cancel(CancelCause::kClosed);
    cancellation.Cancel(CancelCause::kTimeout);
    const Cancellation::Listener third(cancellation, [&] { ++late; });
    EXPECT_EQ(1, early);
    EXPECT_EQ(1, late);
    EXPECT_EQ(0, gone);
    EXPECT_EQ(CancelCause::kClosed, cancellation.cause());
}

// By its time it ends in ServiceNodes.
TEST(Work, EndsWithItsClient) {
    const test::Child child;
    std::atomic<bool> told{false};
    Work work(Client::Of(child.pid()), 0ms);
    const Cancellation::Listener listener(work.cancellation(), [&] { told = true; });
    EXPECT_EQ(5, work.Outcome(5)) << "it is not cancelled yet";
    child.End();
    ASSERT_TRUE(test::Await(told));
    EXPECT_EQ(CancelCause::kClientGone, work.cancellation().cause());
    EXPECT_EQ(kNodeStopped, work.Outcome(kNodeFailed));
    EXPECT_EQ(kNodeOk, work.Outcome(kNodeOk)) << "it was done all the same";
}

}  // namespace
}  // namespace orva::reference
