/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "support/services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

// As text, one after another.
std::string TextOf(const hidl_vec<TensorDimension>& dimensions) {
    std::string text;
    for (const TensorDimension& each : dimensions) {
        for (const int32_t dim : {each.dim0, each.dim1, each.dim2, each.dim3}) {
            text += " " + std::to_string(dim);
        }
    }
    return text;
}

class ModelManagerQueries : public ServiceTest {
protected:
    std::string Dimensions() {
        int32_t result = -1;
        const auto answer = [&](const auto& inputs, const auto& outputs, int32_t status) {
            NoteCall("answer" + TextOf(inputs) + "," + TextOf(outputs));
            result = status;
        };
        EXPECT_TRUE(service_->GetModelIOTensorDim(5, "face", answer).isOk());
        return Outcome(result);
    }
};

TEST_F(ModelManagerQueries, SayWhatBecomesOfThem) {
    const struct {
        std::string method, blank;
        std::function<std::string()> ask;
        std::string noAnswer = {}, answer = {};
    } cases[] = {
            {"GetMaxUsedMemory", " ", [&] { return Outcome(service_->GetMaxUsedMemory(5)); }},
            {"CheckModelValid", " ", [&] { return Outcome(service_->CheckModelValid(5)); }},
            // What a failed call has put into the lists stays with the model manager.
            {"GetModelIOTensorDim", "  ", [&] { return Dimensions(); }, "answer,\n",
             "answer, 1 2 3 4 -1 0 2147483647 -2147483648\n"},
    };
    script_.outputDimensions = {{1, 2, 3, 4, "", 0}, {-1, 0, INT32_MAX, INT32_MIN, "", 0}};
    for (const auto& each : cases) {
        const std::string called =
                "I " + each.method + ": ModelManagerServiceHIDL" + each.blank + each.method + "\n";
        const bool answers = !each.answer.empty();
        EXPECT_EQ(called + "E " + each.method + ": " + each.method +
                          " service PID:5 is not create\n" + (answers ? "S " : "") + each.noAnswer +
                          "= 2 no_session\n",
                  each.ask());
        ASSERT_EQ(0, Init(5));
        for (const int32_t status : {2, -4, 0}) {
            Story();
            script_.status = status;
            EXPECT_EQ(called + "- UpdateServiceTime 5\n- framework " + each.method +
                              (answers ? " face\n- " : "\n") +
                              (status == 0 ? each.answer : each.noAnswer) + "= " +
                              std::to_string(status) + "\n",
                      each.ask());
        }
        service_->UnInit(5);
        Story();
    }
    ASSERT_EQ(0, Init(5));
    script_.inputDimensions.assign(3000, {5, 6, 7, 8, "", 0});
    EXPECT_NE(std::string::npos, Dimensions().find("7 8 5 6 7 8, 1 2"));
}

TEST_F(ModelManagerQueries, CompatibilityIsAskedOfAModelManagerOfItsOwn) {
    Region region(4096);
    region.Write<uint8_t>({1, 2, 3});
    const std::string called =
            "I CheckModelCompatibility: ModelManagerServiceHIDL CheckModelCompatibility\n";
    const std::string asked = called +
                              "- framework made\n- framework CheckModelCompatibility\n"
                              "- framework gone\n= -12\n";
    script_.status = -12;
    EXPECT_EQ(asked, Outcome(service_->CheckModelCompatibility(5, Model("a", &region, 3))));
    ASSERT_EQ(1U, script_.models.size());
    EXPECT_EQ("a", script_.models[0].name());
    ASSERT_EQ(3U, script_.models[0].data_size());
    EXPECT_EQ(3, script_.models[0].data()[2]);
    EXPECT_EQ(asked,
              Outcome(service_->CheckModelCompatibility(5, Model("b", nullptr, 1ULL << 63))));
    EXPECT_EQ(nullptr, script_.models[0].data());

    const std::string unmapped = called +
                                 "- framework made\nE CheckModelCompatibility: mmap fail\n"
                                 "- framework gone\n= 1 model_region\n";
    for (const uint64_t size : {uint64_t{0}, uint64_t{4097}, UINT64_MAX}) {
        EXPECT_EQ(unmapped,
                  Outcome(service_->CheckModelCompatibility(5, Model("a", &region, size))));
    }
    script_.makesNone = true;
    EXPECT_EQ(called + "E CheckModelCompatibility: create AIModelManagerService error\n"
                       "= 1 unknown_type\n",
              Outcome(service_->CheckModelCompatibility(5, Model("a", &region, 4097))));
}

}  // namespace
}  // namespace orva::hidl::test
