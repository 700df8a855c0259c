/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The client program as a person or a script runs it, beside a host of the test's own.

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include <nlohmann/json.hpp>

#include "system/SystemTest.h"

namespace orva::test {

namespace {

using nlohmann::json;

struct Outcome {
    int code;
    std::string output;
    std::string errors;
};

Outcome runOrva(const std::string& folder, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), ORVA_CLIENT);
    if (!folder.empty()) {
        arguments.insert(arguments.end(), {"--socket-dir", folder});
    }
    ChildProcess process(arguments);
    process.closeInput();
    Outcome outcome = {process.await(), "", ""};
    while (const auto line = process.output().next()) {
        outcome.output += *line + "\n";
    }
    while (const auto line = process.errors().next()) {
        outcome.errors += *line + "\n";
    }
    return outcome;
}

class CommandLine : public SystemTest {
protected:
    void SetUp() override {
        SystemTest::SetUp();
        mFiles = std::filesystem::path(testing::TempDir()) /
                 ("orva-files-" + std::to_string(getpid()));
        std::filesystem::create_directories(mFiles);
    }
    void TearDown() override {
        std::filesystem::remove_all(mFiles);
        SystemTest::TearDown();
    }

    Outcome orva(const std::vector<std::string>& arguments) const {
        return runOrva(folder(), arguments);
    }
    std::string file(const std::string& name, const std::string& content) const {
        std::ofstream(mFiles / name, std::ios::binary) << content;
        return mFiles / name;
    }
    static std::string read(const std::filesystem::path& path) {
        std::ifstream in(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    std::filesystem::path mFiles;
};

// The error says what is wrong, and where it helps what to do.
TEST(CommandLineUsage, EachMistakeIsNamed) {
    const struct {
        std::vector<std::string> arguments;
        const char* told;
    } cases[] = {
            {{}, "--help"},
            {{"dance"}, "no command 'dance'; the commands are list ping run faces"},
            {{"--loud"}, "no option '--loud'"},
            {{"list", "--loud"}, "--loud"},
            {{"run"}, "--image or --input is required"},
            {{"run", "--image", "x"}, "needs a --model"},
            {{"run", "--image", "x", "--input", "y", "--model", "z"}, "excludes"},
            {{"run", "--input", "x", "--repeat", "0"}, "--repeat"},
            {{"run", "--input", "x", "--scale", "wide"}, "--scale"},
            {{"faces", "--image", "x"}, "--model is required"},
            {{"faces", "--model", "m", "--image", "x", "--threshold", "2"}, "--threshold"},
            {{"run", "--input", "x", "--bind"}, "needs --service model-manager"},
            {{"compile", "x"}, "--output is required"},
            {{"debug", "nothing"}, "SERVICE"},
    };
    for (const auto& c : cases) {
        const Outcome outcome = runOrva("", c.arguments);
        EXPECT_EQ(outcome.code, 2) << c.told;
        EXPECT_NE(outcome.errors.find(c.told), std::string::npos) << outcome.errors;
        EXPECT_EQ(outcome.output, "");
    }
}

TEST(CommandLineUsage, HelpAndVersionSucceed) {
    const Outcome help = runOrva("", {"--help"});
    EXPECT_EQ(help.code, 0);
    for (const char* command : {"list", "ping", "run", "faces"}) {
        EXPECT_NE(help.output.find(command), std::string::npos);
    }
    EXPECT_TRUE(std::regex_match(runOrva("", {"--version"}).output,
                                 std::regex("\\d+\\.\\d+\\.\\d+\n")));
}

TEST_F(CommandLine, WithoutAHostSaysHowToStartOne) {
    const std::string input = file("input", "four");
    for (const auto& arguments : std::vector<std::vector<std::string>>{
                 {"ping"}, {"run", "--node", "echo", "--input", input}}) {
        const Outcome outcome = orva(arguments);
        EXPECT_EQ(outcome.code, 1);
        EXPECT_NE(outcome.errors.find("start orva-host"), std::string::npos) << outcome.errors;
    }
    const Outcome list = orva({"list"});
    EXPECT_EQ(list.code, 0);
    EXPECT_NE(list.output.find("start orva-host"), std::string::npos);
    EXPECT_EQ(orva({"list", "--json"}).output, "[]\n");
}

TEST_F(CommandLine, ListsWhatIsServed) {
    startHost();
    const Outcome outcome = orva({"list", "--json"});
    EXPECT_EQ(outcome.code, 0);
    const json services = json::parse(outcome.output);
    size_t found = 0;
    for (const json& service : services) {
        EXPECT_EQ(service["pid"], host().pid());
        EXPECT_EQ(service["instance"], "default");
        EXPECT_EQ(service["transport"], "socket");
        found += service["interface"] == "vendor.selkat.hardware.ai@2.1::IAIService" ? 1 : 0;
    }
    EXPECT_EQ(found, 1U);
    EXPECT_NE(orva({"list"}).output.find("vendor.selkat.hardware.ai@2.1::IAIService/default"),
              std::string::npos);
    EXPECT_EQ(orva({"ping"}).code, 0);
}

TEST_F(CommandLine, EchoesRawBytes) {
    startHost();
    const std::string content("\0\x01\xfe\xff", 4);
    const std::string input = file("input", content);
    const std::string saved = mFiles / "saved";
    const Outcome outcome = orva({"run", "--node", "echo", "--input", input, "--repeat", "5",
                                  "--output", saved, "--json"});
    ASSERT_EQ(outcome.code, 0) << outcome.errors;
    const json result = json::parse(outcome.output);
    ASSERT_EQ(result["outputs"].size(), 1U);
    EXPECT_EQ(result["outputs"][0]["shape"], json::array({4}));
    EXPECT_EQ(result["outputs"][0]["first"], json::array({0, 1, 254, 255}));
    EXPECT_EQ(result["outputs"][0]["mean"], 127.5);
    EXPECT_EQ(result["latency"]["requests"], 5);
    EXPECT_LE(result["latency"]["min"], result["latency"]["max"]);
    EXPECT_EQ(read(std::filesystem::path(saved) / "0.bin"), content);
}

// One of the peers' own test cases: y = max(x, 0) on 3x4x5 floats.
TEST_F(CommandLine, RunsAModelOnRawTensors) {
    startHost();
    std::vector<float> values(3 * 4 * 5);
    for (size_t i = 0; i < values.size(); ++i) {
        values[i] = static_cast<float>(i) - 30;
    }
    const std::string bytes(reinterpret_cast<const char*>(values.data()),
                            values.size() * sizeof(float));
    const std::string model = ORVA_ONNX_CASES "/test_relu/model.onnx";
    const std::string saved = mFiles / "saved";
    const Outcome outcome =
            orva({"run", "--model", model, "--input", file("x", bytes), "--output", saved});
    ASSERT_EQ(outcome.code, 0) << outcome.errors;
    // The engine may make a negative zero of a negative number.
    EXPECT_TRUE(std::regex_search(outcome.output,
                                  std::regex("y float32 3x4x5: min -?0, max 29, mean 7\\.25,")))
            << outcome.output;

    const std::string result = read(std::filesystem::path(saved) / "0-y.bin");
    ASSERT_EQ(result.size(), bytes.size());
    for (size_t i = 0; i < values.size(); ++i) {
        float value = -1;
        std::memcpy(&value, result.data() + i * sizeof value, sizeof value);
        EXPECT_EQ(value, std::max(values[i], 0.0F)) << i;
    }
}

TEST_F(CommandLine, RefusesWhatDoesNotFitTheModel) {
    startHost();
    const std::string model = ORVA_ONNX_CASES "/test_relu/model.onnx";
    const std::string small = file("small", "1234");
    const std::string whole = file("whole", std::string(240, '\0'));
    const std::string broken = file("broken.onnx", "no model at all");
    const struct {
        std::vector<std::string> arguments;
        const char* told;
    } cases[] = {
            {{"run", "--model", model, "--input", small}, "takes 240"},
            {{"run", "--model", model, "--input", whole, "--input", whole}, "given 2 times"},
            {{"run", "--model", model, "--image", small}, "no picture"},
            {{"run", "--model", broken, "--input", small}, "no usable ONNX model"},
            {{"run", "--model", mFiles, "--input", small}, "cannot read"},
            {{"run", "--model", model, "--input", mFiles / "missing"}, "cannot read"},
            {{"run", "--model", model, "--input", whole, "--output-shape", "3x4"}, "status 103"},
            {{"run", "--model", model, "--input", whole, "--output-shape", "3xx4"}, "no shape"},
            {{"run", "--node", "nosuch", "--input", small}, "type 'nosuch'"},
            {{"run", "--node", "onnx", "--input", small}, "status 101"},
            {{"faces", "--model", model, "--image", small}, "not the 128-pixel face detector"},
    };
    for (const auto& c : cases) {
        const Outcome outcome = orva(c.arguments);
        EXPECT_EQ(outcome.code, 1) << c.told;
        EXPECT_NE(outcome.errors.find(c.told), std::string::npos) << outcome.errors;
    }
}

// Compiled, checked, asked about and run in both forms; refused once a byte of it is another.
TEST_F(CommandLine, CompilesAModelAndRunsIt) {
    startHost();
    const std::string model = ORVA_ONNX_CASES "/test_relu/model.onnx";
    const std::string compiled = mFiles / "relu.orva";
    const Outcome built = orva({"compile", model, "-o", compiled, "--json"});
    ASSERT_EQ(built.code, 0) << built.errors;
    EXPECT_EQ(json::parse(built.output)["output_bytes"], std::filesystem::file_size(compiled));
    EXPECT_EQ(orva({"check", model, compiled}).code, 0);

    const json info = json::parse(orva({"info", compiled, "--json"}).output);
    EXPECT_EQ(info["valid"], true);
    EXPECT_GT(info["max_used_memory"], 0);
    EXPECT_EQ(info["models"][0]["outputs"][0]["name"], "y");
    EXPECT_EQ(info["models"][0]["outputs"][0]["dimensions"], json::array({3, 4, 5, 1}));

    const float minusOne = -1;
    const std::string input =
            file("x", std::string(60 * sizeof minusOne, '\0')
                              .replace(0, sizeof minusOne, reinterpret_cast<const char*>(&minusOne),
                                       sizeof minusOne));
    for (const std::vector<std::string>& form : {std::vector<std::string>{}, {"--bind"}}) {
        std::vector<std::string> arguments = {"run",    "--service", "model-manager", "--model",
                                              compiled, "--input",   input,           "--repeat",
                                              "3",      "--json"};
        arguments.insert(arguments.end(), form.begin(), form.end());
        const Outcome outcome = orva(arguments);
        ASSERT_EQ(outcome.code, 0) << outcome.errors;
        EXPECT_EQ(json::parse(outcome.output)["outputs"][0]["min"], 0);
    }

    std::string bytes = read(compiled);
    bytes[bytes.size() / 2] ^= 1;
    const Outcome changed = orva({"check", file("changed.orva", bytes)});
    EXPECT_EQ(changed.code, 1);
    EXPECT_NE(changed.errors.find("changed.orva: status 101"), std::string::npos) << changed.errors;

    const std::string broken = file("broken.onnx", "no model at all");
    const Outcome refused = orva({"compile", model, broken, "-o", mFiles / "none"});
    EXPECT_EQ(refused.code, 1);
    EXPECT_NE(refused.errors.find("cannot compile " + broken), std::string::npos) << refused.errors;
    EXPECT_FALSE(std::filesystem::exists(mFiles / "none"));

    const json states = json::parse(orva({"debug", "--json"}).output);
    ASSERT_EQ(states.size(), 2U);
    EXPECT_EQ(states[1]["refusals"]["framework_build"], 1);
    EXPECT_TRUE(states[1]["sessions"].empty());
    EXPECT_EQ(states[1]["held"]["mappings"], 0);
}

}  // namespace

}  // namespace orva::test
