/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The client program as a person or a script runs it, beside a host of the test's own.

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

std::string rest(LineReader& lines) {
    std::string text;
    while (const auto line = lines.next()) {
        text += *line + "\n";
    }
    return text;
}

Outcome runOrva(const std::string& folder, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), ORVA_CLIENT);
    if (!folder.empty()) {
        arguments.insert(arguments.end(), {"--socket-dir", folder});
    }
    ChildProcess process(arguments);
    process.closeInput();
    const int code = process.await();
    return {code, rest(process.output()), rest(process.errors())};
}

// The error says what is wrong, and where it helps what to do.
struct Mistake {
    std::vector<std::string> arguments;
    const char* told;
};
void expectRefused(const Outcome& outcome, int code, const std::string& told) {
    EXPECT_EQ(outcome.code, code) << told;
    EXPECT_NE(outcome.errors.find(told), std::string::npos) << outcome.errors;
    EXPECT_EQ(outcome.output, "") << told;
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

TEST(CommandLineUsage, EachMistakeIsNamed) {
    const Mistake mistakes[] = {
            {{}, "--help"},
            {{"dance"}, "no command 'dance'; the commands are list ping run faces"},
            {{"list", "--loud"}, "--loud"},
            {{"run"}, "--image or --input is required"},
            {{"run", "--image", "x", "--input", "y", "--model", "z"}, "excludes"},
            {{"run", "--input", "x", "--repeat", "0"}, "--repeat"},
            {{"run", "--input", "x", "--scale", "wide"}, "--scale"},
            {{"faces", "--model", "m", "--image", "x", "--threshold", "2"}, "--threshold"},
            {{"run", "--input", "x", "--bind"}, "needs --service model-manager"},
            {{"debug", "nothing"}, "SERVICE"},
    };
    for (const Mistake& mistake : mistakes) {
        expectRefused(runOrva("", mistake.arguments), 2, mistake.told);
    }
    EXPECT_EQ(runOrva("", {"--help"}).code, 0);
    EXPECT_TRUE(std::regex_match(runOrva("", {"--version"}).output,
                                 std::regex("\\d+\\.\\d+\\.\\d+\n")));
}

TEST_F(CommandLine, WithoutAHostSaysHowToStartOne) {
    const std::string input = file("input", "four");
    expectRefused(orva({"ping"}), 1, "start orva-host");
    expectRefused(orva({"run", "--node", "echo", "--input", input}), 1, "start orva-host");
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

TEST_F(CommandLine, RefusesWhatDoesNotFitTheModel) {
    startHost();
    const std::string model = ORVA_ONNX_CASES "/test_relu/model.onnx";
    const std::string small = file("small", "1234");
    const std::string whole = file("whole", std::string(240, '\0'));
    const std::string broken = file("broken.onnx", "no model at all");
    const Mistake mistakes[] = {
            {{"run", "--model", model, "--input", small}, "takes 240"},
            {{"run", "--model", model, "--input", whole, "--input", whole}, "given 2 times"},
            {{"run", "--model", model, "--image", small}, "no picture"},
            {{"run", "--model", broken, "--input", small}, "no usable ONNX model"},
            {{"run", "--model", model, "--input", mFiles / "missing"}, "cannot read"},
            {{"run", "--model", model, "--input", whole, "--output-shape", "3x4"}, "status 103"},
            {{"run", "--node", "nosuch", "--input", small}, "type 'nosuch'"},
            {{"faces", "--model", model, "--image", small}, "not the 128-pixel face detector"},
    };
    for (const Mistake& mistake : mistakes) {
        expectRefused(orva(mistake.arguments), 1, mistake.told);
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

    // y = max(x, 0) on 3x4x5 floats.
    std::vector<float> values(60, -1);
    values[7] = 2;
    const std::string input =
            file("x", {reinterpret_cast<const char*>(values.data()), 60 * sizeof(float)});
    for (const char* form : {"--repeat=3", "--bind"}) {
        const Outcome outcome = orva({"run", "--service", "model-manager", "--model", compiled,
                                      "--input", input, form, "--output", mFiles / "saved"});
        ASSERT_EQ(outcome.code, 0) << outcome.errors;
        // The engine may make a negative zero of a negative number.
        EXPECT_TRUE(
                std::regex_search(outcome.output, std::regex("y float32 3x4x5: min -?0, max 2")))
                << outcome.output;
        EXPECT_EQ(std::filesystem::file_size(mFiles / "saved" / "0-y.bin"), 60 * sizeof(float));
    }

    const std::string both = mFiles / "both.orva";
    const std::string other = ORVA_ONNX_CASES "/test_abs/model.onnx";
    ASSERT_EQ(orva({"compile", other, model, "-o", both}).code, 0);
    const auto pick = [&](const std::vector<const char*>& choice) {
        std::vector<std::string> arguments = {
                "run", "--service", "model-manager", "--model", both, "--input", input};
        arguments.insert(arguments.end(), choice.begin(), choice.end());
        return orva(arguments);
    };
    // The least magnitude is 1.
    EXPECT_NE(pick({"--model-name", "test_abs"}).output.find("min 1,"), std::string::npos);
    EXPECT_NE(pick({"--model-name", "test_relu"}).output.find("0, max 2"), std::string::npos);
    const std::string told = "picks one of 'test_abs', 'test_relu'";
    expectRefused(pick({}), 1, told);
    expectRefused(pick({"--model-name", "test_none"}), 1, told);

    std::string bytes = read(compiled);
    bytes[bytes.size() / 2] ^= 1;
    expectRefused(orva({"check", file("changed.orva", bytes)}), 1, "changed.orva: status 101");

    const std::string broken = file("broken.onnx", "no model at all");
    expectRefused(orva({"compile", model, broken, "-o", mFiles / "none"}), 1,
                  "cannot compile " + broken);
    EXPECT_FALSE(std::filesystem::exists(mFiles / "none"));

    const json states = json::parse(orva({"debug", "--json"}).output);
    ASSERT_EQ(states.size(), 2U);
    EXPECT_EQ(states[1]["refusals"]["framework_build"], 1);
    EXPECT_TRUE(states[1]["sessions"].empty());
    EXPECT_EQ(states[1]["held"]["mappings"], 0);
}

}  // namespace

}  // namespace orva::test
