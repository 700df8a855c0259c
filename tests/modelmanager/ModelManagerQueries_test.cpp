/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using android::hardware::hidl_vec;
using Dimensions = std::vector<std::vector<int32_t>>;

Dimensions Values(const hidl_vec<TensorDimension>& dimensions) {
    Dimensions values;
    for (const TensorDimension& each : dimensions) {
        values.push_back({each.dim0, each.dim1, each.dim2, each.dim3});
    }
    return values;
}

AIModelIOTensor Tensor(const std::vector<int32_t>& dimensions) {
    AIModelIOTensor tensor;
    tensor.dim0 = dimensions[0];
    tensor.dim1 = dimensions[1];
    tensor.dim2 = dimensions[2];
    tensor.dim3 = dimensions[3];
    return tensor;
}

class ModelManagerQueries : public ServiceTest {
protected:
    // Expects one answer.
    void ExpectDimensions(int32_t result, const Dimensions& inputs, const Dimensions& outputs) {
        int calls = 0;
        const auto answer = [&](const auto& in, const auto& out, int32_t status) {
            Journal::Note("answer");
            ++calls;
            EXPECT_EQ(result, status);
            EXPECT_EQ(inputs, Values(in));
            EXPECT_EQ(outputs, Values(out));
        };
        EXPECT_TRUE(service_->GetModelIOTensorDim(5, "face", answer).isOk());
        EXPECT_EQ(1, calls);
    }
};

TEST_F(ModelManagerQueries, NeedASession) {
    EXPECT_EQ(2, service_->GetMaxUsedMemory(5));
    EXPECT_EQ(2, service_->CheckModelValid(5));
    EXPECT_TRUE(journal_.Take().empty());
    ExpectDimensions(2, {}, {});
    EXPECT_EQ((Entries{"S answer"}), journal_.Take());
    const auto lines = [](const char* method, const std::string& space) {
        return Lines{Info(method, "ModelManagerServiceHIDL " + space + method),
                     Error(method, std::string(method) + " service " + kId + " is not create")};
    };
    EXPECT_EQ(lines("GetMaxUsedMemory", "") + lines("CheckModelValid", "") +
                      lines("GetModelIOTensorDim", " "),
              log_.Take());
    EXPECT_EQ("no_session 3", NewRefusals());
}

TEST_F(ModelManagerQueries, PassTheModelManagersAnswersOn) {
    ASSERT_EQ(0, Init(5));
    const std::string update = "- UpdateServiceTime 5";
    journal_.Take();
    log_.Take();
    script_.usedMemory = 2;
    script_.valid = -4;
    EXPECT_EQ(2, service_->GetMaxUsedMemory(5));
    EXPECT_EQ(-4, service_->CheckModelValid(5));
    EXPECT_EQ((Entries{update, "- framework GetMaxUsedMemory", update,
                       "- framework CheckModelValid"}),
              journal_.Take());

    const Dimensions outputs = {{1, 2, 3, 4}, {-1, 0, INT32_MAX, INT32_MIN}};
    script_.outputDimensions = {Tensor(outputs[0]), Tensor(outputs[1])};
    ExpectDimensions(0, {}, outputs);
    EXPECT_EQ((Entries{update, "- framework GetModelIOTensorDim", "- answer"}), journal_.Take());
    EXPECT_EQ("face", script_.modelName);
    script_.inputDimensions.assign(3000, Tensor({5, 6, 7, 8}));
    ExpectDimensions(0, {3000, {5, 6, 7, 8}}, outputs);

    // What a failed call has put into the lists stays here.
    script_.dimensionStatus = 11;
    ExpectDimensions(11, {}, {});
    EXPECT_TRUE(Errors().empty());
}

TEST_F(ModelManagerQueries, CompatibilityIsAskedOfAModelManagerOfItsOwn) {
    Region region(4096);
    region.Write<uint8_t>({1, 2, 3});
    script_.compatible = -12;
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
    EXPECT_EQ(-12, service_->CheckModelCompatibility(5, Model("b", nullptr, 1ULL << 63)));
    EXPECT_EQ(nullptr, script_.models[0].data());
}

TEST_F(ModelManagerQueries, CompatibilityThatCannotBeAsked) {
    Region region(4096);
    const auto error = [](const char* message) {
        return Lines{Error("CheckModelCompatibility", message)};
    };
    for (const uint64_t size : {uint64_t{0}, uint64_t{4097}, UINT64_MAX}) {
        EXPECT_EQ(1, service_->CheckModelCompatibility(5, Model("a", &region, size)));
        EXPECT_EQ(error("mmap fail"), Errors());
        EXPECT_EQ("model_region", NewRefusals());
    }
    EXPECT_EQ(0, script_.alive);
    script_.makesNone = true;
    EXPECT_EQ(1, service_->CheckModelCompatibility(5, Model("a", &region, 4097)));
    EXPECT_EQ(error("create AIModelManagerService error"), Errors());
    EXPECT_EQ("unknown_type", NewRefusals());
}

}  // namespace
}  // namespace orva::hidl::test
