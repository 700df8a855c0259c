/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Models and texts that no well-meaning client would send, up to what one call can carry.

#include <functional>

#include <orva_platform/Runtime.h>

#include "client/lib/Session.h"
#include "framework/OnnxCase.h"
#include "system/BadMemory.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;
using vendor::selkat::hardware::ai::V2_0::ModelBuffer;

constexpr int32_t kNotSent = -1;  // The transport of this process does not take it.
constexpr int32_t kNodeBadModel = 101;

class BadRequests : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        startHost();
        before = host().state();
        other = newClient();
        expectServed(*other);
        service = client::findService();
    }

    void TearDown() override {
        expectServed(*other);
        service.clear();
        orva_platform::stop();
        EXPECT_EQ(other->finish(), 0);
        other.reset();
        expectSettled(before);
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
    Service service;
    ProcessState before;
};

hidl_vec<ModelBuffer> oneModel(const BadMemory& memory) {
    hidl_vec<ModelBuffer> models;
    models.resize(1);
    models[0].modelHandle = memory.handle();
    models[0].size = memory.size();
    return models;
}

// The session of a model that cannot be mapped stays, until the client ends it.
TEST_F(BadRequests, ModelRegionsThatAreNoMemory) {
    const struct {
        const char* name;
        std::function<BadMemory()> make;
    } cases[] = {
            {"shorter than it claims", [] { return BadMemory(memoryFile(4095), 4096); }},
            {"of size 0", [] { return BadMemory(memoryFile(4096), 0); }},
            {"of size 2^63", [] { return BadMemory(memoryFile(4096), uint64_t{1} << 63); }},
            {"a pipe", [] { return BadMemory(pipeEnd(), 4096); }},
            {"a directory", [] { return BadMemory(opened("/proc"), 4096); }},
            {"/dev/null", [] { return BadMemory(opened("/dev/null"), 4096); }},
            {"an eventfd", [] { return BadMemory(eventCounter(), 4096); }},
            {"read-only", [] { return BadMemory(readOnlyMemoryFile(4096), 4096); }},
            {"a handle without descriptors", [] { return BadMemory(memoryFiles(0, 0), 4096); }},
    };
    size_t times = 0;
    for (const auto& row : cases) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(init("echo", "", oneModel(row.make())), 1);
        EXPECT_TRUE(host().log().await("\"mmap fail\"", ++times));
        EXPECT_EQ(init("echo", "", {}), 0) << "the session is there already";
        EXPECT_EQ(process(""), 100) << "and was never initialised";
        EXPECT_TRUE(service->UnInit(1).isOk());
        EXPECT_EQ(process(""), 2);
    }
    EXPECT_EQ(init("echo", "", oneModel(BadMemory(android::base::unique_fd(), 20))), kNotSent);
    EXPECT_EQ(process(""), 2);
}

TEST_F(BadRequests, BrokenModels) {
    const std::vector<uint8_t> file =
            ReadFile(std::string(kOnnxCases) + "/test_conv_with_strides_padding/model.onnx");
    const std::string whole(file.begin(), file.end());
    ASSERT_FALSE(whole.empty());
    std::string deep;
    for (int i = 0; i < 10'000; ++i) {
        deep += "\x3a\x7f";  // A graph in a graph in a graph.
    }
    std::vector<std::string> models = {std::string(1, '\0'), "no protobuf at all",
                                       std::string(100'000, '\xff'), deep,
                                       whole + std::string("\x3a\xff\xff\xff\xff\x7f")};
    for (size_t length = 1; length < whole.size(); length += whole.size() / 16) {
        models.push_back(whole.substr(0, length));
    }
    size_t times = 0;
    for (const std::string& model : models) {
        SCOPED_TRACE(model.size());
        EXPECT_EQ(init("onnx", "", oneModel(BadMemory(memoryFileOf(model), model.size()))),
                  kNodeBadModel);
        EXPECT_TRUE(host().log().await("Service init failed", ++times));
        EXPECT_EQ(process(""), 2) << "no session is left";
    }
    EXPECT_EQ(host().log().count("Load("), times) << "each with its reason";
    EXPECT_EQ(init("onnx", "", {}), kNodeBadModel) << "no model";
    EXPECT_EQ(init("onnx", "", oneModel(BadMemory())), kNodeBadModel) << "no bytes";
    // Sparse, and larger than the framework takes.
    constexpr uint64_t kGiB = uint64_t{1} << 30;
    EXPECT_EQ(init("onnx", "", oneModel(BadMemory(memoryFile(kGiB), kGiB))), kNodeBadModel);
    // What is whole still works.
    EXPECT_EQ(init("onnx", "", oneModel(BadMemory(memoryFileOf(whole), whole.size()))), 0);
    EXPECT_TRUE(service->UnInit(1).isOk());
}

TEST_F(BadRequests, ManyModels) {
    hidl_vec<ModelBuffer> models;
    models.resize(3000);
    EXPECT_EQ(init("echo", "", models), 0);
    EXPECT_TRUE(service->UnInit(1).isOk());
    EXPECT_EQ(init("onnx", "", models), kNodeBadModel);

    models.resize(100'000);
    EXPECT_EQ(init("echo", "", models), kNotSent);

    const BadMemory model(memoryFile(4096), 4096);
    const auto share = [&](size_t count) {
        hidl_vec<ModelBuffer> shared;
        shared.resize(count);
        for (ModelBuffer& buffer : shared) {
            buffer.modelHandle = model.handle();
            buffer.size = model.size();
        }
        return shared;
    };
    EXPECT_EQ(init("echo", "", share(253)), 0);
    EXPECT_TRUE(service->UnInit(1).isOk());
    EXPECT_EQ(init("echo", "", share(254)), kNotSent);
}

TEST_F(BadRequests, Texts) {
    const std::string texts[] = {
            "{",
            "null",
            "[1,2,3]",
            R"({"scale":)",
            "\xff\xfe\x80 not UTF-8",
            "{\"a\":\"\xc3\x28\"}",
            std::string("a NUL\0 inside", 13),
            "%s%n%s%n%d",
            std::string(900'000, 'x'),
            std::string(400'000, '['),
            std::string(400'000, '{'),
            "{\"paras\":" + std::string(300'000, '['),
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text.substr(0, 20) + " of " + std::to_string(text.size()));
        EXPECT_EQ(init(text, "", {}), 1) << "no such node";
        hidl_vec<ModelBuffer> models;
        models.resize(1);
        models[0].description = text.size() < 500'000 ? text : "";
        models[0].extra = "never read";
        EXPECT_EQ(init("echo", text, models), 0);
        EXPECT_EQ(outcome(service->SetListener(1, nullptr)), 0);
        EXPECT_EQ(process(text), 0);
        EXPECT_TRUE(service->UnInit(1).isOk());
    }
    const std::string tooLong(2'000'000, 'x');
    EXPECT_EQ(init(tooLong, "", {}), kNotSent);
    EXPECT_EQ(init("echo", tooLong, {}), kNotSent);
    EXPECT_EQ(process(tooLong), kNotSent);
}

TEST_F(BadRequests, ClientIds) {
    for (const int32_t id : {0, 1, INT32_MAX, -1, INT32_MIN}) {
        SCOPED_TRACE(id);
        EXPECT_EQ(outcome(service->Init(id, "echo", "", {})), 0);
        EXPECT_EQ(outcome(service->Process(id, "", {}, {}, 0)), 100) << "no listener yet";
        EXPECT_TRUE(service->UnInit(id).isOk());
        EXPECT_EQ(outcome(service->Process(id, "", {}, {}, 0)), 2);
    }
    // The least number is its own negation.
    EXPECT_EQ(outcome(service->SetListener(INT32_MIN, nullptr)), 0);
    EXPECT_EQ(outcome(service->SetListener(INT32_MIN, nullptr)), 1);
}

}  // namespace

}  // namespace orva::test
