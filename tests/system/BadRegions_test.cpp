/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What a client sends as a tensor's memory may be anything. Each request has the outcome that it
// should, and the host serves others as if nothing had happened.

#include <functional>

#include <orva_platform/Runtime.h>
#include <unistd.h>

#include "client/lib/Session.h"
#include "system/BadMemory.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using android::hardware::hidl_memory;
using android::hardware::hidl_vec;
using client::Completion;
using client::Tensor;
using client::TensorAttributes;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;

constexpr size_t kBytes = 4096;
constexpr uint64_t k4GiB = uint64_t{1} << 32;

// Outcomes of a request.
constexpr int32_t kTaken = 0;
constexpr int32_t kRefused = 1;
constexpr int32_t kNodeRefused = 103;
constexpr int32_t kNotSent = -1;  // The transport of this process does not take it.

struct Case {
    const char* name;
    std::function<BadMemory()> make;
    int32_t outcome;
    const char* message;  // In the host's log; null for none.
};

const std::vector<Case>& dataCases() {
    static const std::vector<Case> cases = {
            {"one byte shorter than it claims",
             [] { return BadMemory(memoryFile(kBytes - 1), kBytes); }, kRefused, "mmap fail"},
            {"empty", [] { return BadMemory(memoryFile(0), kBytes); }, kRefused, "mmap fail"},
            {"of size 0", [] { return BadMemory(memoryFile(kBytes), 0); }, kRefused, "mmap fail"},
            {"of size 2^63", [] { return BadMemory(memoryFile(kBytes), uint64_t{1} << 63); },
             kRefused, "mmap fail"},
            {"of size 2^64 - 1", [] { return BadMemory(memoryFile(kBytes), UINT64_MAX); }, kRefused,
             "mmap fail"},
            {"a pipe", [] { return BadMemory(pipeEnd(), kBytes); }, kRefused, "mmap fail"},
            {"a directory", [] { return BadMemory(opened("/proc"), kBytes); }, kRefused,
             "mmap fail"},
            {"/dev/null", [] { return BadMemory(opened("/dev/null"), kBytes); }, kRefused,
             "mmap fail"},
            {"/dev/zero", [] { return BadMemory(opened("/dev/zero"), kBytes); }, kRefused,
             "mmap fail"},
            {"an eventfd", [] { return BadMemory(eventCounter(), kBytes); }, kRefused, "mmap fail"},
            {"read-only", [] { return BadMemory(readOnlyMemoryFile(kBytes), kBytes); }, kRefused,
             "mmap fail"},
            {"closed", [] { return BadMemory(android::base::unique_fd(), kBytes); }, kNotSent,
             nullptr},
            {"not there", [] { return BadMemory(); }, kRefused, "mmap failed"},
            {"a handle without descriptors", [] { return BadMemory(memoryFiles(0, 0), kBytes); },
             kRefused, nullptr},
            {"only integers", [] { return BadMemory(memoryFiles(0, 0), kBytes, 3); }, kRefused,
             nullptr},
            {"with integers", [] { return BadMemory(memoryFiles(1, kBytes), kBytes, 3); }, kTaken,
             nullptr},
            {"with as many descriptors as one call may have",
             [] { return BadMemory(memoryFiles(250, kBytes), kBytes); }, kTaken, nullptr},
            {"with one more", [] { return BadMemory(memoryFiles(251, kBytes), kBytes); }, kNotSent,
             nullptr},
            // A tensor's size has 32 bits, and is signed.
            {"of 4 GiB and some",
             [] { return BadMemory(memoryFile(k4GiB + kBytes), k4GiB + kBytes); }, kTaken, nullptr},
            {"of 2 GiB", [] { return BadMemory(memoryFile(k4GiB / 2), k4GiB / 2); }, kNodeRefused,
             nullptr},
    };
    return cases;
}

class BadRegions : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        startHost();
        before = host().state();
        other = newClient();
        expectServed(*other);
        service = client::findService();
        results = new client::Completions;
        ASSERT_EQ(0, static_cast<int32_t>(service->Init(1, "echo", "", {})));
        ASSERT_EQ(0, static_cast<int32_t>(service->SetListener(-1, results)));
        ASSERT_EQ(0, static_cast<int32_t>(service->SetListener(1, nullptr)));
    }

    void TearDown() override {
        expectServed(*other);
        service->UnInit(1).isOk();
        service.clear();
        results.clear();
        orva_platform::stop();
        EXPECT_EQ(other->finish(), 0);
        other.reset();
        expectSettled(before);
        SystemTest::TearDown();
    }

    // Sends one echo request and, when it is taken, awaits its result.
    int32_t echo(const AITensorHandle& input, const AITensorHandle& output) {
        hidl_vec<AITensorHandle> inputs;
        inputs.setToExternal(const_cast<AITensorHandle*>(&input), 1);
        hidl_vec<AITensorHandle> outputs;
        outputs.setToExternal(const_cast<AITensorHandle*>(&output), 1);
        const auto answer = service->Process(1, "", inputs, outputs, 0);
        if (!answer.isOk()) {
            EXPECT_FALSE(answer.isDeadObject()) << answer.description();
            return kNotSent;
        }
        if (answer == kTaken) {
            const auto result = results->await(kWatchdog);
            EXPECT_TRUE(result.has_value());
            EXPECT_EQ(result ? result->result : kNotSent, 0);
        }
        return answer;
    }

    // The case's outcome, with its one message if it has one.
    void expect(const Case& row, const char* direction,
                const std::function<int32_t(const BadMemory&)>& send) {
        SCOPED_TRACE(row.name);
        LineReader& log = host().log();
        const std::string unpacking =
                std::string("Process ") + direction + " tensor DeserializeFrom failed";
        const std::string message =
                row.message != nullptr ? '"' + std::string(row.message) + '"' : unpacking;
        const size_t messages = log.count(message);
        const size_t refusals = log.count(unpacking);
        EXPECT_EQ(send(row.make()), row.outcome);
        if (row.message != nullptr) {
            EXPECT_TRUE(log.await(message, messages + 1));
        }
        if (row.outcome == kRefused) {
            EXPECT_TRUE(log.await(unpacking, refusals + 1));
        }
    }

    std::unique_ptr<ClientProcess> other;
    Service service;
    android::sp<client::Completions> results;
    ProcessState before;
};

TEST_F(BadRegions, AsInputData) {
    for (const Case& row : dataCases()) {
        expect(row, "input", [this](const BadMemory& memory) {
            const Tensor good({}, kBytes);
            AITensorHandle input = good.handle();
            input.data = memory.memory();
            return echo(input, good.handle());
        });
    }
}

TEST_F(BadRegions, AsOutputData) {
    // The result of a request whose output this process itself could not take back as it is.
    for (const Case& row : dataCases()) {
        expect(row, "output", [this](const BadMemory& memory) {
            const Tensor good({}, kBytes);
            AITensorHandle output = good.handle();
            output.data = memory.memory();
            return echo(good.handle(), output);
        });
    }
}

TEST_F(BadRegions, AsAttributes) {
    // Whatever becomes of the record, the request goes on with the shape that tensors have at
    // first.
    constexpr char kShort[] = "DeserializeFrom buffer size too small";
    const std::vector<Case> cases = {
            {"of 4 bytes", [] { return BadMemory(memoryFile(4), 4); }, kTaken, kShort},
            {"of 19 bytes", [] { return BadMemory(memoryFile(19), 19); }, kTaken, kShort},
            {"of 4 bytes that claim 20", [] { return BadMemory(memoryFile(4), 20); }, kTaken,
             "mmap fail"},
            {"of size 0", [] { return BadMemory(memoryFile(20), 0); }, kTaken, "mmap fail"},
            {"of size 2^63", [] { return BadMemory(memoryFile(20), uint64_t{1} << 63); }, kTaken,
             "mmap fail"},
            {"of 4 GiB and 4 bytes", [] { return BadMemory(memoryFile(k4GiB + 4), k4GiB + 4); },
             kTaken, kShort},
            {"a pipe", [] { return BadMemory(pipeEnd(), 20); }, kTaken, "mmap fail"},
            {"a directory", [] { return BadMemory(opened("/proc"), 20); }, kTaken, "mmap fail"},
            {"closed", [] { return BadMemory(android::base::unique_fd(), 20); }, kNotSent, nullptr},
            {"not there", [] { return BadMemory(); }, kTaken, nullptr},
            {"a handle without descriptors", [] { return BadMemory(memoryFiles(0, 0), 20); },
             kTaken, nullptr},
    };
    for (const Case& row : cases) {
        expect(row, "input", [this](const BadMemory& memory) {
            const Tensor good({}, kBytes);
            AITensorHandle input = good.handle();
            input.attr = memory.memory();
            return echo(input, good.handle());
        });
    }
}

TEST_F(BadRegions, OfAnUnknownType) {
    for (const char* type : {"", "X", "AINeuralNetworkBuffer "}) {
        const Tensor good({}, kBytes);
        AITensorHandle input = good.handle();
        input.type = type;
        EXPECT_EQ(echo(input, good.handle()), kRefused) << type;
    }
    EXPECT_TRUE(host().log().await("Process input tensor DeserializeFrom failed", 3));
}

// The client takes memory away that the node is still to touch.
TEST_F(BadRegions, ShrunkenWhileRequestsWait) {
    ASSERT_EQ(other->ask("init 1 echo"), "0");
    ASSERT_EQ(other->ask("set-listener 1"), "0");
    ASSERT_EQ(other->ask("node-listener 1"), "0");
    ASSERT_EQ(other->ask("hold"), "0");
    // Its result is not taken, so the node does not get to the next one's tensors.
    ASSERT_EQ(other->ask("send 1 65536"), "0");
    ASSERT_EQ(other->ask("await-held"), "held");
    ASSERT_EQ(other->ask("send 1 65536"), "0");
    ASSERT_EQ(other->ask("shrink 4096"), "0");
    ASSERT_EQ(other->ask("let-go"), "0");
    EXPECT_EQ(other->ask("await"), "0 same");
    // What is gone reads as zeros.
    EXPECT_EQ(other->ask("await"), "0 different");
    EXPECT_TRUE(host().log().await("a peer shrank a region"));
    EXPECT_EQ(other->ask("uninit 1"), "0");
}

}  // namespace

}  // namespace orva::test
