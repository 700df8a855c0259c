/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// The client program as a person or a script runs it, beside a host of the test's own.

#include "programs/CommandLineTest.h"

#include <nlohmann/json.hpp>

namespace orva::test {

namespace {

using nlohmann::json;

TEST(CommandLineUsage, EachMistakeIsNamed) {
    const Mistakes mistakes = {
            {{}, "--help"},
            {{"dance"}, "no command 'dance'; the commands are list nodes ping run faces"},
            {{"run"}, "--model, --image or --input is required"},
            {{"run", "--image", "x", "--input", "y", "--model", "z"}, "excludes"},
            {{"run", "--input", "x", "--repeat", "0"}, "--repeat"},
            {{"run", "--input", "x", "--bind"}, "needs --service model-manager"},
            {{"--timeout", "nan", "ping"}, "nan is no number"},
            {{"faces", "--model", "x", "--image", "y", "--threshold", "-nan"}, "-nan is no number"},
            {{"perf", "--model", "x", "--rate", "inf"}, "Value inf not in range"},
            {{"top", "--count", "-1"}, "Value -1 not in range"},
    };
    for (const auto& [arguments, told] : mistakes) {
        expectRefused(runOrva(arguments), 2, told);
    }
    for (const char* const option : {"--load-timeout=nan", "--client-sessions=-1"}) {
        ChildProcess host({ORVA_HOST, "--socket-dir", "/dev/null", option});
        EXPECT_EQ(2, host.await()) << option;
    }
    EXPECT_EQ(runOrva({"--help"}).code, 0);
}

TEST_F(CommandLine, ListsWhatIsServedAndSaysHowToStartAHost) {
    expectRefused(orva({"ping"}), 1, "start orva-host");
    EXPECT_NE(orva({"list"}).output.find("start orva-host"), std::string::npos);
    EXPECT_EQ(orva({"list", "--json"}).output, "[]\n");
    startHost();
    const std::string name = "vendor.selkat.hardware.ai@2.1::IAIService";
    const json services = json::parse(orva({"list", "--json"}).output);
    EXPECT_EQ(services[2], (json{{"interface", name},
                                 {"instance", "default"},
                                 {"transport", "socket"},
                                 {"pid", host().pid()}}));
    EXPECT_NE(orva({"list"}).output.find(name + "/default"), std::string::npos);
    EXPECT_EQ(orva({"ping"}).code, 0);
}

TEST_F(CommandLine, FitsWhatItPrintsIntoTheTerminal) {
    startHost();
    const std::string model = ORVA_ONNX_CASES "/test_relu/model.onnx";
    for (std::vector<std::string> command : {std::vector<std::string>{"--help"},
                                             {"run", "--help"},
                                             {"list", "--long"},
                                             {"debug"},
                                             {"info", model},
                                             {"run", "--model", model}}) {
        command.insert(command.begin(), {"/usr/bin/env", "COLUMNS=40", ORVA_CLIENT});
        command.insert(command.end(), {"--socket-dir", folder()});
        ChildProcess process(command);
        EXPECT_EQ(process.await(), 0) << command[3];
        while (const auto line = process.output().next()) {
            const size_t word = line->find_first_not_of(' ');
            EXPECT_TRUE(line->size() <= 40 || line->find(' ', word) == std::string::npos) << *line;
        }
    }
}

TEST_F(CommandLine, RefusesWhatDoesNotFitTheModel) {
    startHost();
    const std::string model = ORVA_ONNX_CASES "/test_relu/model.onnx";
    const std::string small = file("small", "1234");
    const std::string whole = file("whole", std::string(240, '\0'));
    const std::string broken = file("broken.onnx", "no model at all");
    const Mistakes mistakes = {
            {{"run", "--model", model, "--input", small}, "takes 240"},
            {{"run", "--model", model, "--input", whole, "--input", whole}, "given 2 times"},
            {{"run", "--model", model, "--image", small}, "no picture"},
            {{"run", "--model", broken, "--input", small}, "no usable ONNX model"},
            {{"run", "--model", model, "--input", path("missing")}, "cannot read"},
            {{"run", "--model", model, "--input", whole, "--output-shape", "3x4"}, "status 103"},
            {{"run", "--model", model, "--input", whole, "--output-shape", "1x0"}, "1x0"},
            {{"run", "--node", "nosuch", "--input", small}, "type 'nosuch'"},
            {{"faces", "--model", model, "--image", small}, "not the 128-pixel face detector"},
    };
    for (const auto& [arguments, told] : mistakes) {
        expectRefused(orva(arguments), 1, told);
    }
}

TEST_F(CommandLine, StretchesAPictureToTheModelsInput) {
    startHost();
    // Four pixels of red 40, green 50 and blue 60, for the largest of each of three channels.
    const std::string model = ORVA_ONNX_CASES "/test_globalmaxpool/model.onnx";
    const std::string picture = file("x.ppm", "P6 2 2 255\n(2<(2<(2<(2<");
    const std::vector<std::pair<std::vector<std::string>, json>> cases = {
            {{"--scale", "2", "--bias", "1"}, {81, 101, 121}},
            {{"--mean", "30"}, {10, 20, 30}},
            {{"--mean", "30,40,50", "--scale", "1,2,3", "--bias", "-1"}, {9, 19, 29}},
    };
    for (auto [arguments, values] : cases) {
        arguments.insert(arguments.begin(),
                         {"run", "--model", model, "--image", picture, "--json"});
        const Outcome outcome = orva(arguments);
        ASSERT_EQ(outcome.code, 0) << outcome.errors;
        EXPECT_EQ(json::parse(outcome.output)["outputs"][0]["first"], values) << arguments.back();
    }
    const Mistakes mistakes = {
            {{"run", "--model", model, "--scale", "2"},
             "--mean, --scale and --bias: are for --image"},
            {{"run", "--model", model, "--image", picture, "--mean", "1,2"}, "three: R,G,B"},
    };
    for (const auto& [arguments, told] : mistakes) {
        expectRefused(orva(arguments), 2, told);
    }
}

// Each three files are one request of the model, whose tensors are 3x4x5.
TEST_F(CommandLine, RunsTheFilesOfAFolder) {
    startHost();
    const std::string model = ORVA_ONNX_CASES "/test_relu/model.onnx";
    for (const char* const name : {"in/d", "in/b", "in/a", "in/c", "in/.hidden"}) {
        std::filesystem::create_directories(path("in"));
        const std::vector<float> values(20, static_cast<float>(name[3] - 'a'));
        file(name, {reinterpret_cast<const char*>(values.data()), 20 * sizeof(float)});
    }
    const Outcome outcome = orva(
            {"run", "--model", model, "--input", path("in"), "--output", path("out"), "--json"});
    ASSERT_EQ(outcome.code, 0) << outcome.errors;
    const json result = json::parse(outcome.output);
    EXPECT_EQ(result["latency"]["requests"], 2);
    ASSERT_EQ(result["files"].size(), 4U) << result;
    for (size_t i = 0; i < 4; ++i) {
        const std::string name(1, static_cast<char>('a' + i));
        EXPECT_EQ(result["files"][i]["file"], path("in/" + name));
        const json& output = result["files"][i]["outputs"][0];
        EXPECT_EQ(output["shape"], json::array({1, 4, 5}));
        EXPECT_EQ(output["min"], i);
        EXPECT_EQ(output["max"], i);
        EXPECT_EQ(std::filesystem::file_size(path("out/" + name + "/0-y.bin")), 80U);
    }
    const Outcome echoed = orva({"run", "--node", "echo", "--input", path("in")});
    EXPECT_NE(echoed.output.find(path("in/d") + "\n  output uint8 80: "), std::string::npos);
    const json load = json::parse(orva({"perf", "--model", model, "--input", path("in"), "--warmup",
                                        "0", "--duration", "0.2", "--json"})
                                          .output)[0];
    ASSERT_EQ(load["files"].size(), 2U);
    EXPECT_EQ(load["files"][1]["files"], json::array({path("in/d")}));
    EXPECT_EQ(load["files"][0]["requests"].get<int>() + load["files"][1]["requests"].get<int>(),
              load["requests"]);
    file("in/e", "short");
    expectRefused(orva({"run", "--model", model, "--input", path("in")}), 1, "takes 80");
    expectRefused(orva({"run", "--node", "echo", "--input", path("out")}), 1,
                  "there is no file in");
}

TEST_F(CommandLine, ShowsWhereTheTimeWent) {
    startHost();
    // Of repeats that are made up, one is none.
    EXPECT_NE(orva({"run", "--model", ORVA_ONNX_CASES "/test_tile/model.onnx"})
                      .output.find("0x3x4x5: empty\n"),
              std::string::npos);
    const std::string model = ORVA_ONNX_CASES "/test_relu/model.onnx";
    for (const char* const service : {"ai", "model-manager"}) {
        const Outcome plain = orva({"run", "--model", model, "--service", service});
        EXPECT_NE(plain.output.find(" ms queued, "), std::string::npos) << plain.output;
        EXPECT_EQ(plain.output.find("median"), std::string::npos) << "of one request";
        const Outcome profiled =
                orva({"run", "--model", model, "--service", service, "--profile", "--json"});
        EXPECT_EQ(json::parse(profiled.output)["profile"].at(0)["operator"], "Relu");
    }
}

// Compiled, checked, asked about and run in both forms; refused once a byte of it is another.
TEST_F(CommandLine, CompilesAModelAndRunsIt) {
    startHost();
    const std::string model = ORVA_ONNX_CASES "/test_relu/model.onnx";
    const std::string compiled = path("relu.orva"), both = path("both.orva");
    const Outcome built = orva({"compile", model, "-o", compiled, "--json"});
    ASSERT_EQ(built.code, 0) << built.errors;
    EXPECT_EQ(json::parse(built.output)["output_bytes"], std::filesystem::file_size(compiled));
    EXPECT_EQ(orva({"check", model, compiled}).code, 0);

    const json info = json::parse(orva({"info", compiled, "--json"}).output);
    EXPECT_GT(info["max_used_memory"], 0);
    EXPECT_EQ(info["models"][0]["outputs"][0]["shape"], json::array({3, 4, 5}));
    EXPECT_EQ(info["models"][0]["outputs"][0]["record"], json::array({3, 4, 5, 1}));

    // y = max(x, 0) on 3x4x5 floats.
    std::vector<float> values(60, -1);
    values[7] = 2;
    const std::string input =
            file("x", {reinterpret_cast<const char*>(values.data()), 60 * sizeof(float)});
    for (const char* form : {"--repeat=3", "--bind"}) {
        const Outcome outcome = orva({"run", "--service", "model-manager", "--model", compiled,
                                      "--input", input, form, "--output", path("saved"), "--json"});
        ASSERT_EQ(outcome.code, 0) << outcome.errors;
        const json result = json::parse(outcome.output);
        EXPECT_EQ(result["outputs"][0]["shape"], json::array({3, 4, 5}));
        EXPECT_EQ(result["outputs"][0]["max"], 2);
        EXPECT_EQ(result["latency"]["requests"], form[2] == 'r' ? 3 : 1);
        EXPECT_EQ(std::filesystem::file_size(path("saved/0-y.bin")), 60 * sizeof(float));
    }

    const std::string other = ORVA_ONNX_CASES "/test_abs/model.onnx";
    const Outcome two = orva({"compile", other, model, "-o", both});
    EXPECT_NE(two.output.find("\n  test_abs, of " + other + "\n"), std::string::npos) << two.output;
    const auto pick = [&](const std::string& name) {
        return orva({"run", "--service", "model-manager", "--model", both, "--input", input,
                     "--model-name", name});
    };
    // The least magnitude is 1.
    EXPECT_NE(pick("test_abs").output.find("min 1,"), std::string::npos);
    EXPECT_NE(pick("test_relu").output.find("0, max 2"), std::string::npos);
    expectRefused(pick("test_none"), 1, "picks one of 'test_abs', 'test_relu'");

    std::fstream(compiled, std::ios::in | std::ios::out | std::ios::binary).seekp(100).put('x');
    const std::string broken = file("broken.onnx", "no model at all");
    const Outcome checked = orva({"check", model, compiled, broken, "--json"});
    EXPECT_EQ(checked.code, 1);
    for (const std::string& bad : {compiled, broken}) {
        EXPECT_NE(checked.errors.find("\n  " + bad + ": status 101"), std::string::npos);
        EXPECT_NE(json::parse(checked.output)[bad == broken ? 2 : 1]["reason"].dump().find("101"),
                  std::string::npos);
    }
    expectRefused(orva({"compile", model, broken, "-o", path("none")}), 1,
                  "cannot compile " + broken);
    EXPECT_FALSE(std::filesystem::exists(path("none")));
}

}  // namespace

}  // namespace orva::test
