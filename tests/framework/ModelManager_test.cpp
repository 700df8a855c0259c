/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/ModelManager.h>

#include <gtest/gtest.h>
#include <orva/reference/NodeStatus.h>
#include <orva/reference/Settings.h>
#include <unistd.h>

#include <cstring>

#include "CaseModel.h"
#include "Support.h"
#include "compiled/CompiledModel.h"
#include "onnx/Environment.h"

namespace orva::reference {
namespace {

using test::Bytes;
using test::CaseModel;
using test::Floats;
using test::Tensors;
using File = std::vector<uint8_t>;
using Models = std::vector<AIModelDescription>;
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

// Its requests run within the call that makes them.
struct Manager : ModelManager {
    Manager() : ModelManager(std::make_shared<InlineExecutor>()) {
        EXPECT_EQ(kNodeOk, RegisterListener(recorder));
    }
    int32_t Load(Models models) { return Init(AIConfig(), models); }
    int32_t Run(const std::string& model, const Tensors& inputs, const Tensors& outputs) {
        return Process(Naming(model), inputs, outputs, 0);
    }
    int32_t Bind(const std::string& model, const Tensors& inputs, const Tensors& outputs) {
        return SetInputsAndOutputs(Naming(model), inputs, outputs);
    }
    int32_t Start(const std::string& model) { return StartCompute(Naming(model)); }
    AIContext& Naming(const std::string& model) {
        context.SetPara("model", model);
        context.SetPara("tag", model);
        return context;
    }

    AIContext context;
    const std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
};

// What is built of files; the status when that fails.
int32_t Build(std::vector<File> sources, File& built, size_t room = 100000) {
    std::vector<MappedBuffer> inputs;
    std::transform(sources.begin(), sources.end(), std::back_inserter(inputs), [](File& source) {
        return MappedBuffer{source.data(), static_cast<uint32_t>(source.size())};
    });
    // Its own allocation, so that the byte after it is out of bounds.
    const auto output = std::make_unique<uint8_t[]>(room);
    uint32_t size = 100;
    const int32_t status = ModelManager().BuildModel(
            -7, inputs, {output.get(), static_cast<uint32_t>(room)}, size);
    EXPECT_TRUE(status == kNodeOk || size == 100);
    built.assign(output.get(), output.get() + (status == kNodeOk ? size : 0));
    return status;
}
File Built(const std::vector<File>& sources) {
    File built;
    EXPECT_EQ(kNodeOk, Build(sources, built));
    return built;
}

TEST(ModelManager, RunsEachModelByItsName) {
    Manager manager;
    ASSERT_EQ(kNodeOk, manager.Load({Describe("split", CaseModel(kSplit), "onnx"),
                                     Describe("sub", CaseModel(kSub))}));
    const auto first = Floats({0, 0}), last = Floats({0, 0});
    const auto minuend = Bytes(File(60, 60)), difference = Bytes(File(60));
    EXPECT_EQ(kNodeOk,
              manager.Run("split", {Floats({1, 2, 3, 4, 5, 6})}, {first, Floats({0, 0}), last}));
    EXPECT_EQ(Floats({1, 2})->bytes(), first->bytes());
    EXPECT_EQ(Floats({5, 6})->bytes(), last->bytes());

    // Each model keeps its own binding, for as many computations as are started.
    ASSERT_EQ(kNodeOk, manager.Bind("sub", {minuend, Bytes(File(60, 50))}, {difference}));
    ASSERT_EQ(kNodeOk,
              manager.Bind("split", {Floats({6, 5, 4, 3, 2, 1})}, {last, Floats({0, 0}), first}));
    EXPECT_EQ(File(60, 0), difference->bytes()) << "nothing has been started";
    EXPECT_EQ(kNodeOk, manager.Start("sub"));
    EXPECT_EQ(File(60, 10), difference->bytes());
    *static_cast<uint8_t*>(minuend->GetBuffer()) = 99;
    EXPECT_EQ(kNodeOk, manager.Start("sub"));
    EXPECT_EQ(49, difference->bytes()[0]);
    EXPECT_EQ(kNodeOk, manager.Start("split"));
    EXPECT_EQ(Floats({2, 1})->bytes(), first->bytes());
    std::string completed;
    for (const auto& completion : manager.recorder->Await(4)) {
        completed += completion.tag + std::to_string(completion.result) + " ";
    }
    EXPECT_EQ("split0 sub0 sub0 split0 ", completed);
}

TEST(ModelManager, BoundsWhatAClientHasBound) {
    UseClientIdentity([] { return getpid(); });
    SetClientTensors(5);
    const Tensors inputs = {Bytes(File(60)), Bytes(File(60))}, outputs = {Bytes(File(60))};
    {
        Manager manager, other;
        for (Manager* const each : {&manager, &other}) {
            ASSERT_EQ(kNodeOk, each->Load({Describe("", CaseModel(kSub))}));
        }
        ASSERT_EQ(kNodeOk, manager.Bind("", inputs, outputs));
        EXPECT_EQ(kNodeBusy, other.Bind("", inputs, outputs)) << "six tensors";
        EXPECT_EQ(kNodeNotReady, other.Start(""));
        EXPECT_EQ(kNodeBusy, manager.Run("", inputs, outputs));
    }
    Manager next;
    ASSERT_EQ(kNodeOk, next.Load({Describe("", CaseModel(kSub))}));
    EXPECT_EQ(kNodeOk, next.Bind("", inputs, outputs)) << "what was bound has gone";
    SetClientTensors(4096);
    UseClientIdentity({});
}

TEST(ModelManager, RefusesRequestsThatItCannotRun) {
    Manager manager;
    const Tensors in = {Floats({1, 2, 3, 4, 5, 6})};
    const Tensors out = {Floats({0, 0}), Floats({0, 0}), Floats({0, 0})};
    EXPECT_EQ(kNodeNotReady, manager.Run("", in, out));
    EXPECT_EQ(kNodeNotReady, manager.Bind("", in, out));
    EXPECT_EQ(kNodeNotReady, manager.CheckModelValid());

    ASSERT_EQ(kNodeOk, manager.Load({Describe("a", CaseModel(kSplit))}));
    EXPECT_EQ(kNodeNotReady, manager.Load({}));
    EXPECT_EQ(kNodeBadRequest, manager.Run("b", in, out));
    EXPECT_EQ(kNodeBadRequest, manager.Run("a", in, in));
    EXPECT_EQ(kNodeNotReady, manager.Start("a")) << "nothing is bound";
    EXPECT_EQ(kNodeBadRequest, manager.Start("b"));
    EXPECT_EQ(kNodeBadRequest, manager.Bind("b", in, out));
    EXPECT_EQ(kNodeOk, manager.Bind("a", in, out));
    EXPECT_EQ(kNodeBadRequest, manager.Bind("a", in, {})) << "and the old one stays";
    EXPECT_EQ(0U, manager.recorder->Await(0).size());
    EXPECT_EQ(kNodeOk, manager.Start("")) << "the only model";
    EXPECT_EQ(1U, manager.recorder->Await(1).size());
}

TEST(ModelManager, WhatIsCompatibleIsWhatInitialises) {
    const File split = CaseModel(kSplit);
    const File built = Built({split});
    File longer = built;
    longer.push_back(0);
    const struct {
        const char* what;
        AIModelDescription model;
        int32_t status;
    } cases[] = {
            {"a source", Describe("", split), kNodeOk},
            {"a source by another type", Describe("a", split, "compiled"), kNodeBadModel},
            {"a built model by its type", Describe("a", built, "compiled"), kNodeOk},
            {"a built model by another type", Describe("a", built, "onnx"), kNodeBadModel},
            {"nothing at all", AIModelDescription(), kNodeBadModel},
            {"too long", Describe("a", longer), kNodeBadModel},
            {"cut", Describe("a", {built.begin(), built.begin() + 63}), kNodeBadModel},
    };
    for (const auto& testCase : cases) {
        Manager manager;
        EXPECT_EQ(testCase.status, manager.CheckModelCompatibility(testCase.model))
                << testCase.what;
        EXPECT_EQ(testCase.status, manager.Load({testCase.model})) << testCase.what;
        EXPECT_EQ(testCase.status, manager.CheckModelValid()) << testCase.what;
    }
}

TEST(ModelManager, RefusesABuiltModelOfWhichAByteIsChanged) {
    const File built = Built({CaseModel(kSplit)});
    Manager manager;
    for (size_t at = 0; at < built.size(); ++at) {
        // The mark at the beginning could become anything; elsewhere the digest tells.
        for (int change = 1; change < 256; change += at < 8 ? 1 : 127) {
            File changed = built;
            changed[at] ^= static_cast<uint8_t>(change);
            ASSERT_EQ(kNodeBadModel, manager.Load({Describe("", changed)})) << at << ' ' << change;
        }
    }
    EXPECT_EQ(kNodeOk, manager.Load({Describe("", built)}));
}

// A digest can be made by anyone, so a right one promises nothing.
TEST(ModelManager, RefusesABuiltModelThatIsSealedButWrong) {
    const File source = CaseModel(kSplit);
    const File built = Built({source});
    uint64_t table = 0;
    std::memcpy(&table, &built[24], sizeof table);
    const size_t models = table + 4 + strlen(EngineVersion());  // How many there are.
    const size_t entry = models + 8 + strlen(kSplit);           // Behind the model's name.
    const size_t input = entry + 40;                            // The first one's name.
    const size_t dim = input + 13;
    const struct {
        const char* what;
        size_t at;
        File bytes;
        int32_t status = kNodeBadModel;
    } cases[] = {
            {"another version", 8, {3}},
            {"a table beyond the end", 24, {0, 0, 1}},
            {"a version of 4 GiB", table, {255, 255, 255, 255}},
            {"another version of the engine", table + 4, {'0'}, kNodeOk},
            {"billions of models", models, {255, 255, 255, 255}},
            {"a name of 4 GiB", models + 4, {255, 255, 255, 255}},
            {"a source in the header", entry, {63}},
            {"a source of 2^63 bytes", entry + 15, {128}},
            {"an optimised form that is none", 64 + source.size(), {255, 255, 255, 255}},
            {"an optimised form in the header", entry + 16, {63}},
            {"billions of tensors", entry + 32, {255, 255, 255, 255}},
            {"a name that the engine does not find", input, {'I'}},
            {"a dimension that the engine does not find", dim, {7}},
            {"an open dimension that the engine does not find", dim, File(8, 255)},
            {"a dimension below -1", dim, {254, 255, 255, 255, 255, 255, 255, 255}},
            {"a dimension without bounds", dim, {255, 255, 255, 255, 255, 255, 255, 127}},
            {"nothing", 8, {}, kNodeOk},
    };
    for (const auto& testCase : cases) {
        File file = built;
        std::copy(testCase.bytes.begin(), testCase.bytes.end(), &file[testCase.at]);
        Digest digest;
        digest.Add({file.data() + 64, file.size() - 64});
        digest.Add({file.data(), 32});
        const Digest::Value value = digest.End();
        std::copy(value.begin(), value.end(), file.begin() + 32);
        EXPECT_EQ(testCase.status, ModelManager().CheckModelCompatibility(Describe("", file)))
                << testCase.what;
    }
}

TEST(ModelManager, LoadsWhatItBuiltUnderItsNames) {
    const File split = CaseModel(kSplit), sub = CaseModel(kSub);
    const File one = Built({split}), three = Built({split, sub, split});
    const std::string again = std::string(kSplit) + "-2";
    const struct {
        Models models;
        std::vector<std::string> names;
    } cases[] = {
            {{Describe("a", one)}, {"", "a"}},
            {{Describe("", three), Describe("p", three), Describe("b", split)},
             {kSplit, kSub, again, std::string("p/") + kSub, "p/" + again, "b"}},
    };
    const auto bytes = Bytes(File(60));
    const auto six = Floats(std::vector<float>(6)), two = Floats({0, 0});
    for (const auto& testCase : cases) {
        Manager manager;
        ASSERT_EQ(kNodeOk, manager.Load(testCase.models));
        for (const std::string& name : testCase.names) {
            const bool isSub = name.find(kSub) != std::string::npos;
            EXPECT_EQ(kNodeOk, isSub ? manager.Run(name, {bytes, bytes}, {bytes})
                                     : manager.Run(name, {six}, {two, two, two}))
                    << name;
        }
        EXPECT_EQ(kNodeBadRequest, manager.Run("p", {}, {}));
    }
}

TEST(ModelManager, RefusesToBuildWhatItCouldNotLoad) {
    const File split = CaseModel(kSplit);
    const size_t size = Built({split, split}).size();
    File built;
    EXPECT_EQ(kNodeOk, Build({split, split}, built, size));
    for (size_t room = 0; room < size; ++room) {
        ASSERT_EQ(kNodeBadModel, Build({split, split}, built, room)) << room;
    }
    const std::pair<const char*, std::vector<File>> cases[] = {
            {"none", {}},
            {"an empty one", {split, {}}},
            {"a broken one", {split, {1, 2, 3}, split}},
            {"a built one", {Built({split})}},
    };
    for (const auto& [what, sources] : cases) {
        EXPECT_NE(kNodeOk, Build(sources, built)) << what;
    }
}

TEST(ModelManager, LoadsAllModelsOrNone) {
    const File split = CaseModel(kSplit);
    Models most;
    while (most.size() < ModelManager::kMostModels) {
        most.push_back(Describe(std::to_string(most.size()), split));
    }
    Models more = most;
    more.push_back(Describe("more", split));
    Manager manager;
    for (const Models& models : {Models{most[0], most[0]}, {most[0], Describe("b", {1})}, more}) {
        EXPECT_EQ(kNodeBadModel, manager.Load(models));
        EXPECT_EQ(kNodeNotReady, manager.Bind("0", {}, {}));
    }
    EXPECT_EQ(kNodeOk, manager.Load(most));
}

TEST(ModelManager, TellsDimensionsAndMemory) {
    Manager manager;
    ASSERT_EQ(kNodeOk, manager.Load({Describe("split", CaseModel(kSplit)),
                                     Describe("pad", CaseModel("test_averagepool_2d_pads"))}));
    const auto text = [&](const std::string& name) {
        std::vector<AIModelIOTensor> inputs, outputs;
        std::string result = std::to_string(manager.GetModelIOTensorDim(name, inputs, outputs));
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
    EXPECT_EQ("0 x1,1,3,28,28 y1,1,3,30,30", text("pad"));
    EXPECT_EQ("103", text(""));

    // At the least what is made of the larger one's bytes.
    const auto before = manager.GetMaxUsedMemory();
    EXPECT_EQ(kNodeOk, manager.Run("pad", {Bytes(File(3 * 28 * 28))},
                                   {Floats(std::vector<float>(3 * 30 * 30))}));
    EXPECT_GT(manager.GetMaxUsedMemory(), before + 3 * 28 * 28 * 4);
}

}  // namespace
}  // namespace orva::reference
