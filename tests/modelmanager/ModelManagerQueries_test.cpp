/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using android::hardware::hidl_vec;

bool SameDimensions(const hidl_vec<TensorDimension>& dimensions,
                    const std::vector<std::vector<int32_t>>& expected) {
    std::vector<std::vector<int32_t>> values;
    for (const TensorDimension& each : dimensions) {
        values.push_back({each.dim0, each.dim1, each.dim2, each.dim3});
    }
    return values == expected;
}

AIModelIOTensor Tensor(int32_t dim0, int32_t dim1, int32_t dim2, int32_t dim3) {
    AIModelIOTensor tensor;
    tensor.dim0 = dim0;
    tensor.dim1 = dim1;
    tensor.dim2 = dim2;
    tensor.dim3 = dim3;
    tensor.name = "only the framework's";
    return tensor;
}

class ModelManagerQueries : public ServiceTest {
protected:
    struct Answer {
        int calls = 0;
        hidl_vec<TensorDimension> inputs, outputs;
        int32_t result = -1;
    };

    Answer AskDimensions(int32_t client) {
        Answer answer;
        EXPECT_TRUE(service_->GetModelIOTensorDim(
                                    client, "face",
                                    [&](const auto& inputs, const auto& outputs, int32_t result) {
                                        Journal::Note("answer");
                                        ++answer.calls;
                                        answer.inputs = inputs;
                                        answer.outputs = outputs;
                                        answer.result = result;
                                    })
                            .isOk());
        return answer;
    }
};

TEST_F(ModelManagerQueries, NeedASession) {
    const std::string id = IdOf(5);
    EXPECT_EQ(2, service_->GetMaxUsedMemory(5));
    EXPECT_EQ(2, service_->CheckModelValid(5));
    EXPECT_TRUE(journal_.Take().empty());
    const Answer answer = AskDimensions(5);
    EXPECT_EQ(1, answer.calls);
    EXPECT_EQ(2, answer.result);
    EXPECT_EQ(0U, answer.inputs.size() + answer.outputs.size());
    EXPECT_EQ((Entries{"S answer"}), journal_.Take());
    EXPECT_EQ((Lines{Info("GetMaxUsedMemory", "ModelManagerServiceHIDL GetMaxUsedMemory"),
                     Error("GetMaxUsedMemory", "GetMaxUsedMemory service " + id + " is not create"),
                     Info("CheckModelValid", "ModelManagerServiceHIDL CheckModelValid"),
                     Error("CheckModelValid", "CheckModelValid service " + id + " is not create"),
                     Info("GetModelIOTensorDim", "ModelManagerServiceHIDL  GetModelIOTensorDim"),
                     Error("GetModelIOTensorDim",
                           "GetModelIOTensorDim service " + id + " is not create")}),
              log_.Take());
}

TEST_F(ModelManagerQueries, PassTheModelManagersAnswersOn) {
    ASSERT_EQ(0, Init(5));
    const std::string update = "- UpdateServiceTime " + IdOf(5);
    journal_.Take();
    log_.Take();
    script_.usedMemory = 2;
    script_.valid = -4;
    EXPECT_EQ(2, service_->GetMaxUsedMemory(5));
    EXPECT_EQ(-4, service_->CheckModelValid(5));
    EXPECT_EQ((Entries{update, "- framework GetMaxUsedMemory", update,
                       "- framework CheckModelValid"}),
              journal_.Take());

    script_.outputDimensions = {Tensor(1, 2, 3, 4), Tensor(-1, 0, INT32_MAX, INT32_MIN)};
    Answer answer = AskDimensions(5);
    EXPECT_EQ((Entries{update, "- framework GetModelIOTensorDim", "- answer"}), journal_.Take());
    EXPECT_EQ("face", script_.modelName);
    EXPECT_EQ(1, answer.calls);
    EXPECT_EQ(0, answer.result);
    EXPECT_EQ(nullptr, answer.inputs.data());
    EXPECT_TRUE(SameDimensions(answer.outputs, {{1, 2, 3, 4}, {-1, 0, INT32_MAX, INT32_MIN}}));

    script_.inputDimensions.assign(3000, Tensor(5, 6, 7, 8));
    answer = AskDimensions(5);
    EXPECT_TRUE(SameDimensions(answer.inputs, {3000, {5, 6, 7, 8}}));

    // What a failed call has put into the lists stays here.
    script_.dimensionStatus = 11;
    answer = AskDimensions(5);
    EXPECT_EQ(1, answer.calls);
    EXPECT_EQ(11, answer.result);
    EXPECT_EQ(0U, answer.inputs.size() + answer.outputs.size());
    EXPECT_TRUE(Errors().empty());
}

TEST_F(ModelManagerQueries, CompatibilityIsAskedOfAModelManagerOfItsOwn) {
    Region region(4096);
    region.Write<uint8_t>({1, 2, 3});
    script_.compatible = -12;
    for (const bool session : {false, true}) {
        if (session) {
            ASSERT_EQ(0, Init(5));
        }
        journal_.Take();
        log_.Take();
        const size_t unmapped = CallCount(Call::Munmap);
        EXPECT_EQ(-12, service_->CheckModelCompatibility(5, Model("a", &region, 3)));
        EXPECT_EQ(unmapped + 1, CallCount(Call::Munmap));
        EXPECT_EQ((Entries{"- framework made", "- framework CheckModelCompatibility",
                           "- framework gone"}),
                  journal_.Take());
        EXPECT_EQ((Lines{Info("CheckModelCompatibility",
                              "ModelManagerServiceHIDL CheckModelCompatibility")}),
                  log_.Take());
        ASSERT_EQ(1U, script_.models.size());
        EXPECT_EQ("a", script_.models[0].name());
        ASSERT_EQ(3U, script_.models[0].data_size());
        EXPECT_EQ(3, script_.models[0].data()[2]);
    }
    EXPECT_EQ(-12, service_->CheckModelCompatibility(5, Model("b", nullptr, 1ULL << 63)));
    EXPECT_EQ(nullptr, script_.models[0].data());
    script_.models.clear();
}

TEST_F(ModelManagerQueries, CompatibilityThatCannotBeAsked) {
    Region region(4096), shorter(4095);
    const auto error = [](const char* message) {
        return Lines{Error("CheckModelCompatibility", message)};
    };
    for (const uint64_t size : {uint64_t{0}, uint64_t{4097}, UINT64_MAX}) {
        EXPECT_EQ(1, service_->CheckModelCompatibility(5, Model("a", &region, size)));
        EXPECT_EQ(error("mmap fail"), Errors());
    }
    {
        const ModelBuffer model = Model("a", &region, 4096);
        const Fault fault(Call::Mmap);
        EXPECT_EQ(1, service_->CheckModelCompatibility(5, model));
        EXPECT_EQ(error("mmap fail"), Errors());
    }
    EXPECT_EQ(0, script_.alive);
    EXPECT_EQ("- framework gone", journal_.Take().back());
    script_.makesNone = true;
    EXPECT_EQ(1, service_->CheckModelCompatibility(5, Model("a", &shorter, 4096)));
    EXPECT_EQ(error("create AIModelManagerService error"), Errors());
}

}  // namespace
}  // namespace orva::hidl::test
