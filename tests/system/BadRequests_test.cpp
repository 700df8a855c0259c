/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What no well-meaning client would send, up to what one call can carry. Each request has the
// outcome that it should, and the host serves others as if nothing had happened.

#include "support/Region.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using android::hardware::hidl_memory;
using android::hardware::hidl_vec;
using client::Tensor;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;
using vendor::selkat::hardware::ai::V2_0::ModelBuffer;

constexpr size_t kBytes = 4096;
constexpr uint64_t k4GiB = uint64_t{1} << 32;

// Outcomes of a request.
constexpr int32_t kTaken = 0;
constexpr int32_t kRefused = 1;
constexpr int32_t kNodeRefused = 103;
constexpr int32_t kNotSent = -1;  // The transport of this process does not take it.

class BadRequests : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        startHost();
        other = newClient();
        expectServed(*other);
        service = client::findService();
    }

    void TearDown() override {
        expectServed(*other);
        EXPECT_EQ(other->finish(), 0);
        other.reset();
        service.clear();
        SystemTest::TearDown();
    }

    static int32_t outcome(const android::hardware::Return<int32_t>& answer) {
        EXPECT_TRUE(answer.isOk() || !answer.isDeadObject()) << answer.description();
        return answer.isOk() ? static_cast<int32_t>(answer) : kNotSent;
    }
    int32_t init(const std::string& type, const std::string& config,
                 const hidl_vec<ModelBuffer>& models) {
        return outcome(service->Init(1, type, config, models));
    }
    int32_t process(const std::string& context) {
        return outcome(service->Process(1, context, {}, {}, 0));
    }

    std::unique_ptr<ClientProcess> other;
    android::sp<client::AIService> service;
};

TEST_F(BadRequests, TensorsInWhatIsNoMemoryForThem) {
    Region page(kBytes), shorter(kBytes - 1), none(kBytes), large(k4GiB + kBytes);
    none.Get()->numFds = 0;
    Handle closed((hidl::UniqueFd()));
    // With some integers, too.
    const auto many = [&](int descriptors) {
        native_handle_t* const handle = native_handle_create(descriptors, 3);
        std::fill_n(handle->data, descriptors + 3, page.Fd());
        return std::unique_ptr<native_handle_t, int (*)(native_handle_t*)>(handle,
                                                                           native_handle_delete);
    };
    const auto most = many(250), tooMany = many(251);
    const struct {
        const char* name;
        const native_handle_t* handle;
        uint64_t size;
        int32_t outcome;
    } cases[] = {
            {"one byte shorter than it claims", shorter.Get(), kBytes, kRefused},
            {"of size 0", page.Get(), 0, kRefused},
            {"of size 2^64 - 1", page.Get(), UINT64_MAX, kRefused},
            {"closed", closed.Get(), kBytes, kNotSent},
            {"not there", nullptr, kBytes, kRefused},
            {"without descriptors", none.Get(), kBytes, kRefused},
            {"as many descriptors as one call may have", most.get(), kBytes, kTaken},
            {"one more", tooMany.get(), kBytes, kNotSent},
            // A tensor's size has 32 bits, and is signed.
            {"of 4 GiB and some", large.Get(), k4GiB + kBytes, kTaken},
            {"of 2 GiB", large.Get(), k4GiB / 2, kNodeRefused},
    };
    const android::sp<client::Completions> results = new client::Completions;
    ASSERT_EQ(0, init("echo", "", {}));
    ASSERT_EQ(0, outcome(service->SetListener(-1, results)));
    ASSERT_EQ(0, outcome(service->SetListener(1, nullptr)));
    size_t refused = 0;
    for (const auto& each : cases) {
        for (const char* const place : {"input", "output", "attributes"}) {
            SCOPED_TRACE(std::string(each.name) + " as " + place);
            const Tensor good({}, kBytes);
            hidl_vec<AITensorHandle> inputs = {good.handle()}, outputs = {good.handle()};
            hidl_memory& memory = place[0] == 'i'   ? inputs[0].data
                                  : place[0] == 'o' ? outputs[0].data
                                                    : inputs[0].attr;
            memory = each.handle != nullptr ? hidl_memory("ashmem", each.handle, each.size)
                                            : hidl_memory();
            // Whatever becomes of the attributes, the request goes on.
            const bool goesOn = place[0] == 'a' && each.outcome != kNotSent;
            const int32_t status = outcome(service->Process(1, "", inputs, outputs, 0));
            EXPECT_EQ(status, goesOn ? kTaken : each.outcome);
            refused += status == kRefused ? 1 : 0;
            if (status == kTaken) {
                const auto result = results->await(kWatchdog);
                ASSERT_TRUE(result.has_value());
                EXPECT_EQ(result->result, 0);
            }
        }
    }
    EXPECT_TRUE(host().log().await("put tensor DeserializeFrom failed", refused));
    EXPECT_TRUE(service->UnInit(1).isOk());
}

// The client takes memory away that the node is still to touch.
TEST_F(BadRequests, RegionsShrunkenWhileRequestsWait) {
    ASSERT_EQ(other->ask("session 1"), "000");
    // Its result is not taken, so the node does not get to the next one's tensors.
    ASSERT_EQ(other->ask("hold 1 65536"), "0");
    ASSERT_EQ(other->ask("send 1 65536"), "0");
    ASSERT_EQ(other->ask("shrink 4096"), "0");
    ASSERT_EQ(other->ask("let-go"), "0");
    EXPECT_EQ(other->ask("await"), "0 same");
    // What is gone reads as zeros.
    EXPECT_EQ(other->ask("await"), "0 different");
    EXPECT_TRUE(host().log().await("a peer shrank a region"));
    EXPECT_EQ(other->ask("uninit 1"), "0");
}

TEST_F(BadRequests, ManyModels) {
    const auto models = [](size_t count, const native_handle_t* handle) {
        hidl_vec<ModelBuffer> all;
        all.resize(count);
        for (ModelBuffer& model : all) {
            model.modelHandle = handle;
            model.size = kBytes;
        }
        return all;
    };
    Region region(kBytes);
    const struct {
        size_t count;
        const native_handle_t* handle;
        int32_t status;
    } cases[] = {
            {3000, nullptr, 0},
            {100'000, nullptr, kNotSent},
            {253, region.Get(), 0},
            {254, region.Get(), kNotSent},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(init("echo", "", models(each.count, each.handle)), each.status) << each.count;
        EXPECT_TRUE(service->UnInit(1).isOk());
    }
}

TEST_F(BadRequests, Texts) {
    const std::string texts[] = {
            "[1,2,3]",
            R"({"scale":)",
            "\xff\xfe\x80 not UTF-8",
            std::string("a NUL\0 inside", 13),
            "%s%n%s%n%d",
            std::string(400'000, '['),
            "{\"paras\":" + std::string(300'000, '['),
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 20) + " of " + std::to_string(text.size()));
        EXPECT_EQ(init(text, "", {}), 1) << "no such node";
        EXPECT_EQ(init("echo", text, {ModelBuffer{text, nullptr, 0, "never read"}}), 0);
        EXPECT_EQ(outcome(service->SetListener(1, nullptr)), 0);
        EXPECT_EQ(process(text), 0);
        EXPECT_TRUE(service->UnInit(1).isOk());
    }
    const std::string tooLong(2'000'000, 'x');
    EXPECT_EQ(init(tooLong, "", {}), kNotSent);
    EXPECT_EQ(init("echo", tooLong, {}), kNotSent);
    EXPECT_EQ(process(tooLong), kNotSent);
}

}  // namespace

}  // namespace orva::test
