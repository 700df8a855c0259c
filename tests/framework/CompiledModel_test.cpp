/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "compiled/CompiledModel.h"

#include <gtest/gtest.h>
#include <orva/reference/ModelManager.h>
#include <orva/reference/NodeStatus.h>

#include <functional>
#include <random>

#include "OnnxCase.h"

namespace orva::reference {
namespace {

using File = std::vector<uint8_t>;

// A file whose digest is right again after whatever was done to it.
File Sealed(File file) {
    Digest digest;
    digest.Add({file.data() + 64, file.size() - 64});
    digest.Add({file.data(), 32});
    const Digest::Value value = digest.End();
    std::copy(value.begin(), value.end(), file.begin() + 32);
    return file;
}

class CompiledModelTest : public testing::Test {
protected:
    static File Write(const std::vector<CompiledEntry>& entries) {
        File file(10000);
        CompiledModelWriter writer(file.data(), file.size());
        for (const CompiledEntry& entry : entries) {
            writer.Append(entry);
        }
        file.resize(writer.Finish(-7));
        return file;
    }

    const File source_ = test::CaseModel("test_split_equal_parts_1d");
    const CompiledEntry good_ = {
            "a",
            {source_.data(), source_.size()},
            {{"input", 1, {6}, 6}},
            {{"output_1", 1, {2}, 2}, {"output_2", 1, {2}, 2}, {"output_3", 1, {2}, 2}}};
};

TEST_F(CompiledModelTest, ReadsWhatWasWritten) {
    CompiledEntry other = {"bb", {source_.data(), 3}, {}, {{"", 0, {}, 1}, {"y", 0, {2, 3}, 6}}};
    const File file = Write({good_, other});
    CompiledModel model;
    std::string reason;
    ASSERT_TRUE(ReadCompiledModel({file.data(), file.size()}, model, reason)) << reason;
    EXPECT_EQ(-7, model.buildParam);
    ASSERT_EQ(2U, model.models.size());
    EXPECT_EQ("a", model.models[0].name);
    EXPECT_EQ(good_.source.ToString(), model.models[0].source.ToString());
    EXPECT_EQ("output_3", model.models[0].outputs[2].name);
    EXPECT_EQ("bb", model.models[1].name);
    EXPECT_EQ(other.source.ToString(), model.models[1].source.ToString());
    EXPECT_TRUE(model.models[1].inputs.empty());
    EXPECT_EQ((std::vector<int>{2, 3}), model.models[1].outputs[1].dims);
    EXPECT_EQ(6U, model.models[1].outputs[1].elements);
}

// A digest can be made by anyone, so a right one promises nothing.
TEST_F(CompiledModelTest, RefusesWhatIsSealedButWrong) {
    const File whole = Write({good_});
    const size_t table = 64 + source_.size();
    const size_t dimension = table + 4 + 5 + 16 + 4 + 9 + 8;
    CompiledEntry dims = good_, type = good_, name = good_, fewer = good_, nameless = good_;
    dims.outputs[1].dims = {1, 2};
    type.inputs[0].dataType = 0;
    name.inputs[0].name = "Input";
    fewer.outputs.pop_back();
    nameless.name = "";
    const auto set = [&](size_t at, std::initializer_list<uint8_t> bytes) {
        File file = whole;
        for (const uint8_t byte : bytes) {
            file.at(at++) = byte;
        }
        return file;
    };
    const struct {
        const char* what;
        File file;
        bool read;
    } cases[] = {
            {"dimensions that the engine does not find", Write({dims}), true},
            {"a type that the engine does not find", Write({type}), true},
            {"a name that the engine does not find", Write({name}), true},
            {"a tensor less", Write({fewer}), true},
            {"a model without a name", Write({nameless}), false},
            {"a name twice", Write({good_, good_}), false},
            {"no model", Write({}), false},
            {"another version", set(8, {2}), false},
            {"a table beyond the end", set(24, {0, 0, 1}), false},
            {"a table in the header", set(24, {10, 0}), false},
            {"more models than there are", set(table, {2}), false},
            {"fewer models than there are", set(table, {0}), false},
            {"billions of models", set(table, {255, 255, 255, 255}), false},
            {"a name of 4 GiB", set(table + 4, {255, 255, 255, 255}), false},
            {"a source in the header", set(table + 9, {63}), false},
            {"a source in the table", set(table + 9, {65}), false},
            {"a source before the file", set(table + 16, {255}), false},
            {"a source of 2^63 bytes", set(table + 24, {128}), false},
            {"billions of tensors", set(table + 25, {255, 255, 255, 255}), false},
            {"more dimensions than any", set(dimension - 4, {33}), false},
            {"a dimension of 0", set(dimension, {0}), false},
            {"a dimension below 0", set(dimension, {255, 255, 255, 255}), false},
            {"a dimension without bounds", set(dimension, {255, 255, 255, 127}), false},
    };
    ModelManager manager;
    AIModelDescription description;
    for (const auto& testCase : cases) {
        const File file = Sealed(testCase.file);
        CompiledModel model;
        std::string reason;
        EXPECT_EQ(testCase.read, ReadCompiledModel({file.data(), file.size()}, model, reason))
                << testCase.what;
        EXPECT_EQ(testCase.read, reason.empty()) << testCase.what;
        EXPECT_EQ(std::string::npos, reason.find("changed")) << testCase.what;
        description.set_data(file.data(), file.size());
        EXPECT_EQ(kNodeBadModel, manager.CheckModelCompatibility(description)) << testCase.what;
    }
    description.set_data(whole.data(), whole.size());
    EXPECT_EQ(kNodeOk, manager.CheckModelCompatibility(description));
}

// Random damage under a right digest; the sanitizers say whether the reader stays within the file.
TEST_F(CompiledModelTest, SurvivesAnyTable) {
    const File whole = Write({good_, {"b", good_.source, {}, good_.inputs}});
    std::mt19937 random(1);
    size_t taken = 0;
    for (int round = 0; round < 5000; ++round) {
        File file = whole;
        for (unsigned damage = 1 + random() % 4; damage > 0; --damage) {
            const size_t at = random() % 3 == 0 ? random() % 32 : file.size() - 1 - random() % 250;
            file[at] = static_cast<uint8_t>(random() % 4 == 0 ? random() : random() % 8);
        }
        const File sealed = Sealed(std::move(file));
        CompiledModel model;
        std::string reason;
        const bool read = ReadCompiledModel({sealed.data(), sealed.size()}, model, reason);
        EXPECT_EQ(read, reason.empty());
        taken += read ? 1 : 0;
    }
    EXPECT_GT(taken, 0U) << "or the damage is always too much";
}

}  // namespace
}  // namespace orva::reference
