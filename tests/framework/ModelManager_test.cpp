/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/ModelManager.h>

#include <gtest/gtest.h>
#include <orva/AIModelManagerFactory.h>
#include <orva/reference/NodeStatus.h>

#include "OnnxCase.h"
#include "Support.h"
#include "executor/ThreadPool.h"

namespace orva::reference {
namespace {

using test::Bytes;
using test::CaseModel;
using test::Floats;
using test::Tensors;
using File = std::vector<uint8_t>;
using Recorder = test::RecorderOf<AIModelManagerListener>;

// Six floats in, three times two out.
const char* const kSplit = "test_split_equal_parts_1d";
// Two times sixty bytes in, sixty out.
const char* const kSub = "test_sub_uint8";

AIModelDescription Describe(const std::string& name, const File& file,
                            const std::string& type = "") {
    AIModelDescription description;
    description.set_name(name);
    description.set_type(type);
    description.set_data(file.data(), file.size());
    return description;
}

AIContext Context(const std::string& model, const std::string& tag = "") {
    AIContext context;
    context.SetPara("model", model);
    context.SetPara("tag", tag);
    return context;
}

int32_t Init(AIModelManager& manager, std::vector<AIModelDescription> models) {
    return manager.Init(AIConfig(), models);
}
int32_t Process(AIModelManager& manager, const std::string& model, const Tensors& inputs,
                const Tensors& outputs, const std::string& tag = "") {
    AIContext context = Context(model, tag);
    return manager.Process(context, inputs, outputs, 0);
}
int32_t Bind(AIModelManager& manager, const std::string& model, const Tensors& inputs,
             const Tensors& outputs) {
    AIContext context = Context(model);
    return manager.SetInputsAndOutputs(context, inputs, outputs);
}
int32_t Start(AIModelManager& manager, const std::string& model, const std::string& tag = "") {
    AIContext context = Context(model, tag);
    return manager.StartCompute(context);
}

class ModelManagerTest : public testing::Test {
protected:
    // Requests run within the call that makes them.
    std::shared_ptr<ModelManager> Make() {
        auto manager = std::make_shared<ModelManager>(std::make_shared<InlineExecutor>());
        EXPECT_EQ(kNodeOk, manager->RegisterListener(recorder_));
        return manager;
    }

    // What is built of files; the status when that fails.
    static int32_t Build(const std::vector<File>& files, File& built, size_t room = 100000) {
        std::vector<File> sources = files;
        std::vector<MappedBuffer> inputs;
        inputs.reserve(sources.size());
        for (File& source : sources) {
            inputs.push_back({source.data(), static_cast<uint32_t>(source.size())});
        }
        // Its own allocation, so that the byte after it is out of bounds.
        std::vector<uint8_t> output(room);
        output.shrink_to_fit();
        uint32_t size = 100;
        const int32_t status = ModelManager().BuildModel(
                -7, inputs, {output.data(), static_cast<uint32_t>(output.size())}, size);
        EXPECT_TRUE(status == kNodeOk || size == 100);
        built.assign(output.begin(), output.begin() + (status == kNodeOk ? size : 0));
        return status;
    }

    std::shared_ptr<Recorder> recorder_ = std::make_shared<Recorder>();
};

TEST_F(ModelManagerTest, RunsEachModelByItsName) {
    const auto manager = Make();
    ASSERT_EQ(kNodeOk, Init(*manager, {Describe("split", CaseModel(kSplit), "onnx"),
                                       Describe("sub", CaseModel(kSub))}));
    const auto first = Floats({0, 0});
    const auto third = Floats({0, 0});
    const auto minuend = Bytes(File(60, 60));
    const auto fifty = Bytes(File(60, 50));
    const auto difference = Bytes(File(60));
    EXPECT_EQ(kNodeOk, Process(*manager, "split", {Floats({1, 2, 3, 4, 5, 6})},
                               {first, Floats({0, 0}), third}, "a"));
    EXPECT_EQ(Floats({1, 2})->bytes(), first->bytes());
    EXPECT_EQ(Floats({5, 6})->bytes(), third->bytes());

    // Each model keeps its own binding, for as many computations as are started.
    ASSERT_EQ(kNodeOk, Bind(*manager, "sub", {minuend, fifty}, {difference}));
    ASSERT_EQ(kNodeOk, Bind(*manager, "split", {Floats({6, 5, 4, 3, 2, 1})},
                            {third, Floats({0, 0}), first}));
    EXPECT_EQ(File(60, 0), difference->bytes()) << "nothing has been started";
    EXPECT_EQ(kNodeOk, Start(*manager, "sub", "b"));
    EXPECT_EQ(File(60, 10), difference->bytes());
    *static_cast<uint8_t*>(minuend->GetBuffer()) = 99;
    EXPECT_EQ(kNodeOk, Start(*manager, "sub", "c"));
    EXPECT_EQ(49, difference->bytes()[0]);
    EXPECT_EQ(kNodeOk, Start(*manager, "split", "d"));
    EXPECT_EQ(Floats({2, 1})->bytes(), first->bytes());

    std::string tags;
    for (const auto& completion : recorder_->Await(4)) {
        EXPECT_EQ(kNodeOk, completion.result);
        tags += completion.tag;
    }
    EXPECT_EQ("abcd", tags);
}

TEST_F(ModelManagerTest, RefusesRequestsThatItCannotRun) {
    const auto manager = Make();
    const Tensors in = {Floats({1, 2, 3, 4, 5, 6})};
    const Tensors out = {Floats({0, 0}), Floats({0, 0}), Floats({0, 0})};
    std::vector<AIModelIOTensor> dims;
    EXPECT_EQ(kNodeNotReady, Process(*manager, "", in, out));
    EXPECT_EQ(kNodeNotReady, Bind(*manager, "", in, out));
    EXPECT_NE(kNodeOk, manager->GetModelIOTensorDim("", dims, dims));

    ASSERT_EQ(kNodeOk, Init(*manager, {Describe("a", CaseModel(kSplit))}));
    EXPECT_EQ(kNodeNotReady, Init(*manager, {}));
    EXPECT_EQ(kNodeBadRequest, Process(*manager, "b", in, out));
    EXPECT_EQ(kNodeBadRequest, Process(*manager, "a", in, in));
    EXPECT_EQ(kNodeNotReady, Start(*manager, "a")) << "nothing is bound";
    EXPECT_EQ(kNodeBadRequest, Start(*manager, "b"));
    EXPECT_EQ(kNodeBadRequest, Bind(*manager, "b", in, out));
    EXPECT_EQ(kNodeOk, Bind(*manager, "a", in, out));
    EXPECT_EQ(kNodeBadRequest, Bind(*manager, "a", in, {})) << "and the old one stays";
    EXPECT_EQ(0U, recorder_->Await(0).size());
    EXPECT_EQ(kNodeOk, Start(*manager, "")) << "the only model";
    EXPECT_EQ(1U, recorder_->Await(1).size());

    ModelManager deaf(std::make_shared<InlineExecutor>());
    ASSERT_EQ(kNodeOk, Init(deaf, {Describe("", CaseModel(kSplit))}));
    EXPECT_EQ(kNodeNotReady, Process(deaf, "", in, out));
}

TEST_F(ModelManagerTest, WhatIsCompatibleIsWhatInitialises) {
    const File split = CaseModel(kSplit);
    File built;
    ASSERT_EQ(kNodeOk, Build({split}, built));
    File both;
    ASSERT_EQ(kNodeOk, Build({split, CaseModel(kSub)}, both));
    File longer = built;
    longer.push_back(0);
    const struct {
        const char* what;
        AIModelDescription model;
        int32_t status;
    } cases[] = {
            {"a source", Describe("", split), kNodeOk},
            {"a source by another type", Describe("a", split, "compiled"), kNodeBadModel},
            {"a built model by its type", Describe("a", both, "compiled"), kNodeOk},
            {"a built model by another type", Describe("a", built, "onnx"), kNodeBadModel},
            {"a type of no use", Describe("a", split, "tflite"), kNodeBadModel},
            {"nothing at all", AIModelDescription(), kNodeBadModel},
            {"too long", Describe("a", longer), kNodeBadModel},
            {"cut", Describe("a", {built.begin(), built.begin() + 63}), kNodeBadModel},
            {"no such operator", Describe("a", CaseModel("test_det_2d")), kNodeBadModel},
    };
    for (const auto& testCase : cases) {
        const auto manager = Make();
        EXPECT_EQ(testCase.status, manager->CheckModelCompatibility(testCase.model))
                << testCase.what;
        EXPECT_EQ(kNodeNotReady, manager->CheckModelValid()) << "it asks of no session";
        EXPECT_EQ(testCase.status, Init(*manager, {testCase.model})) << testCase.what;
        EXPECT_EQ(testCase.status, manager->CheckModelValid()) << testCase.what;
    }
}

TEST_F(ModelManagerTest, RefusesABuiltModelOfWhichAByteIsChanged) {
    File built;
    ASSERT_EQ(kNodeOk, Build({CaseModel(kSplit)}, built));
    ModelManager manager;
    for (size_t at = 0; at < built.size(); ++at) {
        // The mark at the beginning could become anything; elsewhere the digest tells.
        for (int change = 1; change < 256; change += at < 8 ? 1 : 127) {
            File changed = built;
            changed[at] ^= static_cast<uint8_t>(change);
            const AIModelDescription model = Describe("", changed);
            ASSERT_EQ(kNodeBadModel, manager.CheckModelCompatibility(model)) << at << change;
            ASSERT_EQ(kNodeBadModel, Init(manager, {model})) << at << ' ' << change;
            ASSERT_EQ(kNodeBadModel, manager.CheckModelValid());
        }
    }
    EXPECT_EQ(kNodeOk, Init(manager, {Describe("", built)}));
}

TEST_F(ModelManagerTest, LoadsWhatItBuilt) {
    const File split = CaseModel(kSplit);
    const File sub = CaseModel(kSub);
    File one, three;
    ASSERT_EQ(kNodeOk, Build({split}, one));
    ASSERT_EQ(kNodeOk, Build({split, sub, split}, three));
    const std::string again = std::string(kSplit) + "-2";
    const struct {
        std::vector<AIModelDescription> models;
        std::vector<std::string> names;
    } cases[] = {
            {{Describe("a", one)}, {"", "a"}},
            {{Describe("", three), Describe("p", three), Describe("b", split)},
             {kSplit, kSub, again, std::string("p/") + kSub, "p/" + again, "b"}},
    };
    const auto bytes = Bytes(File(60));
    const Tensors out = {Floats({0, 0}), Floats({0, 0}), Floats({0, 0})};
    for (const auto& testCase : cases) {
        const auto manager = Make();
        ASSERT_EQ(kNodeOk, Init(*manager, testCase.models));
        for (const std::string& name : testCase.names) {
            const bool isSub = name.find(kSub) != std::string::npos;
            EXPECT_EQ(kNodeOk, isSub ? Process(*manager, name, {bytes, bytes}, {bytes})
                                     : Process(*manager, name, {Floats({1, 2, 3, 4, 5, 6})}, out))
                    << name;
        }
        EXPECT_EQ(kNodeBadRequest, Process(*manager, "p", {}, {}));
    }
    EXPECT_EQ(Floats({5, 6})->bytes(), static_cast<test::TestTensor&>(*out[2]).bytes());
}

TEST_F(ModelManagerTest, RefusesToBuildWhatItCouldNotLoad) {
    const File split = CaseModel(kSplit);
    File built;
    ASSERT_EQ(kNodeOk, Build({split, split}, built));
    const size_t size = built.size();
    EXPECT_EQ(kNodeOk, Build({split, split}, built, size));
    for (size_t room = 1; room < size; ++room) {
        ASSERT_EQ(kNodeBadModel, Build({split, split}, built, room)) << room;
    }
    const std::pair<const char*, std::vector<File>> cases[] = {
            {"none", {}},
            {"an empty one", {split, {}}},
            {"a broken one", {split, {1, 2, 3}, split}},
            {"no such operator", {CaseModel("test_det_2d")}},
            {"a built one", {Build({split}, built) == kNodeOk ? built : File()}},
    };
    for (const auto& [what, sources] : cases) {
        EXPECT_NE(kNodeOk, Build(sources, built, size_t{1} << 20)) << what;
    }
    EXPECT_NE(kNodeOk, Build({split}, built, 0)) << "no output";
}

TEST_F(ModelManagerTest, RefusesModelsThatDoNotGoTogether) {
    const File split = CaseModel(kSplit);
    std::vector<AIModelDescription> most;
    for (size_t i = 0; i < ModelManager::kMostModels; ++i) {
        most.push_back(Describe(std::to_string(i), split));
    }
    std::vector<AIModelDescription> more = most;
    more.push_back(Describe("more", split));
    const auto manager = Make();
    EXPECT_EQ(kNodeBadModel, Init(*manager, {Describe("a", split), Describe("a", split)}));
    EXPECT_EQ(kNodeBadModel, Init(*manager, {Describe("a", split), Describe("b", {1})}));
    EXPECT_EQ(kNodeBadModel, Init(*manager, more));
    EXPECT_EQ(kNodeNotReady, Bind(*manager, "a", {}, {})) << "nothing is left of them";
    EXPECT_EQ(kNodeOk, Init(*manager, most));
}

TEST_F(ModelManagerTest, TellsDimensionsAndMemory) {
    const auto manager = Make();
    ASSERT_EQ(kNodeOk, Init(*manager,
                            {Describe("split", CaseModel(kSplit)), Describe("sub", CaseModel(kSub)),
                             Describe("pad", CaseModel("test_averagepool_2d_pads"))}));
    const auto text = [&](const std::string& name) {
        std::vector<AIModelIOTensor> inputs, outputs;
        std::string result = std::to_string(manager->GetModelIOTensorDim(name, inputs, outputs));
        inputs.insert(inputs.end(), outputs.begin(), outputs.end());
        for (const AIModelIOTensor& tensor : inputs) {
            result += " " + tensor.name + std::to_string(tensor.dataType);
            for (const int dim : {tensor.dim0, tensor.dim1, tensor.dim2, tensor.dim3}) {
                result += "," + std::to_string(dim);
            }
        }
        return result;
    };
    EXPECT_EQ("0 input1,6,1,1,1 output_11,2,1,1,1 output_21,2,1,1,1 output_31,2,1,1,1",
              text("split"));
    EXPECT_EQ("0 x0,3,4,5,1 y0,3,4,5,1 z0,3,4,5,1", text("sub"));
    EXPECT_EQ("0 x1,1,3,28,28 y1,1,3,30,30", text("pad"));
    EXPECT_EQ("103", text(""));

    // At the least what goes in and out of the largest of them.
    const int32_t loaded = manager->GetMaxUsedMemory();
    EXPECT_GT(loaded, 3 * (28 * 28 + 30 * 30) * 4);
    EXPECT_LT(loaded, 1 << 20);
    const Tensors in = {Floats(std::vector<float>(3 * 28 * 28))};
    const Tensors out = {Floats(std::vector<float>(3 * 30 * 30))};
    for (int i = 0; i < 50; ++i) {
        ASSERT_EQ(kNodeOk, Process(*manager, "pad", in, out));
    }
    EXPECT_GE(manager->GetMaxUsedMemory(), loaded);
    EXPECT_LT(manager->GetMaxUsedMemory(), 2 * loaded) << "memory comes back";
}

}  // namespace
}  // namespace orva::reference
