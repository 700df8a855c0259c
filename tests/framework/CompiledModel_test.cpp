/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "compiled/CompiledModel.h"

#include <gtest/gtest.h>
#include <orva/reference/ModelManager.h>
#include <orva/reference/NodeStatus.h>

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

File Write(const std::vector<CompiledEntry>& entries) {
    File file(10000);
    CompiledModelWriter writer(file.data(), file.size());
    for (const CompiledEntry& entry : entries) {
        writer.Append(entry);
    }
    file.resize(writer.Finish(-7));
    return file;
}

// A digest can be made by anyone, so a right one promises nothing.
TEST(CompiledModel, IsRefusedWhenItIsSealedButWrong) {
    const File source = test::CaseModel("test_split_equal_parts_1d");
    const CompiledEntry good = {
            "a",
            {source.data(), source.size()},
            {{"input", 1, {6}, 6}},
            {{"output_1", 1, {2}, 2}, {"output_2", 1, {2}, 2}, {"output_3", 1, {2}, 2}}};
    const File whole = Write({good});
    const size_t table = 64 + source.size();
    const size_t dimension = table + 4 + 5 + 16 + 4 + 9 + 8;
    CompiledEntry dims = good, name = good, nameless = good;
    dims.outputs[1].dims = {1, 2};
    name.inputs[0].name = "Input";
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
            {"a name that the engine does not find", Write({name}), true},
            {"a model without a name", Write({nameless}), false},
            {"a name twice", Write({good, good}), false},
            {"another version", set(8, {2}), false},
            {"a table beyond the end", set(24, {0, 0, 1}), false},
            {"billions of models", set(table, {255, 255, 255, 255}), false},
            {"a name of 4 GiB", set(table + 4, {255, 255, 255, 255}), false},
            {"a source in the header", set(table + 9, {63}), false},
            {"a source of 2^63 bytes", set(table + 24, {128}), false},
            {"billions of tensors", set(table + 25, {255, 255, 255, 255}), false},
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

}  // namespace
}  // namespace orva::reference
