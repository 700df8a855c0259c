/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/Engine.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <orva/reference/NodeStatus.h>

#include "CaseModel.h"
#include "OnnxWriter.h"
#include "Support.h"
#include "onnx/OnnxRunner.h"
#include "support/Machine.h"

namespace orva::reference {
namespace {

using namespace test::onnx;
using test::Floats;
using test::TestTensor;
using Parameters = std::map<std::string, std::string>;

std::shared_ptr<TestTensor> Int64s(const std::vector<int64_t>& values) {
    return test::TensorOf(AI_DATA_TYPE_INT64, values);
}

RunnerConfig ConfigOf(const Parameters& parameters) {
    AIConfig config;
    for (const auto& [name, value] : parameters) {
        config.SetPara(name, value);
    }
    RunnerConfig read;
    EXPECT_TRUE(read.Read(config));
    return read;
}

// Runs a request that a runner takes, and answers what it says of the outputs' dimensions.
Parameters RunOn(const OnnxRunner& runner, const test::Tensors& inputs,
                 const test::Tensors& outputs, const Parameters& parameters = {}) {
    Cancellation cancellation;
    Request request{{}, inputs, outputs, 0};
    for (const auto& [name, value] : parameters) {
        request.context.SetPara(name, value);
    }
    if (runner.Check(request) != kNodeOk) {
        return {{"refused", ""}};
    }
    EXPECT_EQ(kNodeOk, runner.Run(request, cancellation));
    return request.context.paras();
}

// What is said of the shape of an input of six floats, and what it then is.
TEST(RequestShapes, SettleWhatIsOpenOrNameIt) {
    const struct {
        Dims dims;  // -2 is open by the name N
        Parameters said;
        const char* outcome;
        std::array<int, 4> record = {1, 1, 1, 1};
    } cases[] = {
            {{2, 3}, {}, "2x3"},
            // One that is open follows from the elements, if it divides them.
            {{-1, 3}, {}, "2x3"},
            {{-2, 4}, {}, "dimension 0 ('N') of x"},
            {{-1, -2}, {}, "dimension 0 of x"},
            {{-1, -2}, {{"dimension:N", "3"}}, "2x3"},
            {{-2, -2, 6}, {{"dimension:N", "1"}}, "1x1x6"},
            {{-2, -2}, {{"shape:x", "2x3"}}, "elsewhere"},
            {{-1, -1}, {{"shape:x", "3x2"}}, "3x2"},
            {{-1, -1}, {{"shape:y", "3x2"}}, "dimension 0 of x"},
            // Of another rank, of other elements, of another dimension, and none.
            {{-1, -1}, {{"shape:x", "6"}}, "the shape 6"},
            {{-1, -1}, {{"shape:x", "3x3"}}, "24 bytes"},
            {{2, -1}, {{"shape:x", "3x2"}}, "the shape"},
            {{-1, -1}, {{"shape:x", "3x"}}, "is no shape"},
            // By a record that fits, has more, or has other elements.
            {{-1, -1}, {}, "2x3", {2, 3, 1, 1}},
            {{-1, -1}, {}, "dimension 0 of x", {1, 2, 3, 1}},
            {{-1, -1}, {}, "dimension 0 of x", {2, 2, 1, 1}},
            // Channels first, last, or anywhere.
            {{1, 3, -1, -1}, {}, "1x3x2x1", {1, 3, 2, 1}},
            {{1, -1, -1, 3}, {}, "1x2x1x3", {1, 3, 2, 1}},
            {{1, -1, -1, -1}, {}, "dimension 1 of x", {1, 3, 2, 1}},
    };
    for (const auto& each : cases) {
        EngineTensor tensor = {"x", AI_DATA_TYPE_FLOAT32, {}, {}, true};
        for (const int64_t dim : each.dims) {
            tensor.dims.push_back(std::max<int64_t>(dim, -1));
            tensor.dimNames.emplace_back(dim == -2 ? "N" : "");
        }
        std::vector<uint8_t> bytes(24);
        std::string outcome;
        try {
            ShapeChoices choices;
            choices.Add(each.said);
            const BufferView buffer = {bytes.data(), 24, AI_DATA_TYPE_FLOAT32, each.record};
            outcome = TextOf(SettleShapes({tensor}, {}, {buffer}, choices).inputs.at(0));
        } catch (const std::runtime_error& error) {
            outcome = error.what();
        }
        EXPECT_NE(std::string::npos, outcome.find(each.outcome))
                << outcome << ", not " << each.outcome;
    }
}

TEST(Engine, TakesOpenDimensionsFromTheRequestBeforeTheSession) {
    const std::string file =
            Model(Input("x", {-2, -1}) + Output("y", {-2, -1}) + Node("Relu", {"x"}, {"y"}));
    Cancellation cancellation;
    const OnnxRunner runner(Range(file), ConfigOf({{"shape:x", "2x3"}}), cancellation);
    const auto six = Floats({1, -2, 3, -4, 5, -6}), out = Floats(std::vector<float>(6));
    EXPECT_EQ("2x3", RunOn(runner, {six}, {out})["shape:y"]);
    EXPECT_EQ(Floats({1, 0, 3, 0, 5, 0})->bytes(), out->bytes());
    EXPECT_EQ(2, out->GetNumber());
    EXPECT_EQ(3, out->GetChannel());
    EXPECT_EQ("1x6", RunOn(runner, {six}, {out}, {{"shape:x", "1x6"}})["shape:y"]);
    const OnnxRunner fixed(Range(file), ConfigOf({{"dimension:N", "3"}}), cancellation);
    EXPECT_EQ("3x2", RunOn(fixed, {six}, {out})["shape:y"]);
    EXPECT_EQ(3, fixed.engine().inputs()[0].dims[0]) << "known to the engine from the start";
}

TEST(Engine, OutputsKnownOnlyAfterwardsFitOrAreRefused) {
    // Where numbers are not 0; and one that does not make what the model says of it.
    const std::string nonZero =
            Model(Input("x", {4}) + Output("y", {1, -1}, kInt64) + Node("NonZero", {"x"}, {"y"}));
    const std::string reshape = Model(Input("x", {6}) + Input("s", {2}, kInt64) +
                                      Output("y", {2, 3}) + Node("Reshape", {"x", "s"}, {"y"}));
    Cancellation cancellation;
    const OnnxRunner where(Range(nonZero), {}, cancellation);
    const auto places = Int64s({9, 9, 9});
    EXPECT_EQ("1x2", RunOn(where, {Floats({0, 7, 0, 7})}, {places})["shape:y"]);
    EXPECT_EQ(Int64s({1, 3, 9})->bytes(), places->bytes());
    EXPECT_THROW(RunOn(where, {Floats({7, 7, 7, 7})}, {places}), std::runtime_error);
    EXPECT_EQ(Int64s({1, 3, 9})->bytes(), places->bytes());

    const OnnxRunner liar(Range(reshape), {}, cancellation);
    const auto six = Floats({1, 2, 3, 4, 5, 6}), out = Floats(std::vector<float>(6));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ("3x2", RunOn(liar, {six, Int64s({3, 2})}, {out})["shape:y"]);
        EXPECT_EQ(six->bytes(), out->bytes());
        EXPECT_EQ(0U, RunOn(liar, {six, Int64s({2, 3})}, {out}).count("shape:y"));
    }
}

TEST(Engine, HoldsNoMoreMemoryThanItMayAndGivesAllOfItBack) {
    // As many floats as an input says.
    const std::string file =
            Model(Input("x", {1}) + Input("s", {1}, kInt64) + Output("y", {1}) +
                  Node("Expand", {"x", "s"}, {"large"}) + Node("ReduceSum", {"large"}, {"y"}));
    const auto memory = std::make_shared<EngineMemory>(1 << 20, Client::Of(0));
    {
        Cancellation cancellation;
        const OnnxRunner runner(Range(file), {}, cancellation, memory);
        const auto sum = Floats({0});
        RunOn(runner, {Floats({1}), Int64s({100'000})}, {sum});
        EXPECT_EQ(Floats({100'000})->bytes(), sum->bytes());
        EXPECT_GE(memory->most(), 400'000U);
        for (const int64_t many : {int64_t{1'000'000}, int64_t{1} << 40}) {
            EXPECT_THROW(RunOn(runner, {Floats({1}), Int64s({many})}, {sum}), std::exception);
        }
        EXPECT_LE(memory->most(), 1U << 20);
    }
    EXPECT_EQ(0U, memory->taken());
}

TEST(EngineMemory, KeepsThePiecesOfTheLatestRun) {
    EngineMemory memory(1 << 20, Client::Of(0));
    for (size_t bytes = 1; bytes <= 20; ++bytes) {
        ASSERT_TRUE(memory.Take(bytes));
        memory.Keep(std::malloc(bytes), bytes);
    }
    EXPECT_EQ(nullptr, memory.Reuse(4)) << "of the sizes from 5 to 20 there is one each";
    void* const piece = memory.Reuse(20);
    EXPECT_EQ(nullptr, memory.Reuse(20));
    memory.Keep(piece, 20);
    EXPECT_EQ(200U, memory.taken());
    memory.Trim();
    EXPECT_EQ(0U, memory.taken());
}

// Each constant is of four bytes in the file and of four mebibytes once it is computed.
TEST(Engine, ComputesNoMoreAheadThanItMay) {
    std::string nodes;
    for (int i = 0; i < 1000; ++i) {
        const std::string number = std::to_string(i);
        nodes += Node("ConstantOfShape", {"s"}, {"c" + number});
        nodes += Node("Add", {i == 0 ? "x" : "a" + std::to_string(i - 1), "c" + number},
                      {"a" + number});
    }
    const std::string file = Model(Input("x", {1 << 20}) + Output("y", {1 << 20}) + nodes +
                                   Node("Relu", {"a999"}, {"y"}) +
                                   Initializer(Tensor("s", {1}, Raw<int64_t>({1 << 20}), kInt64)));
    rusage before = {}, after = {};
    getrusage(RUSAGE_SELF, &before);
    Cancellation cancellation;
    const Engine engine(Range(file), {}, cancellation);
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 1 << 20) << "KiB";
}

// What a request failed by; empty where it did not.
std::string FailureOf(const OnnxRunner& runner, test::Tensors inputs, test::Tensors outputs) {
    Cancellation cancellation;
    Request request{{}, std::move(inputs), std::move(outputs), 0};
    try {
        runner.Run(request, cancellation);
        return "";
    } catch (const std::exception& error) {
        return error.what();
    }
}

// A node that the engine aborts at, since its range is none.
std::string AbortingNode(const std::string& output) {
    const auto bound = [](const char* name, float number) {
        return Text(5, Text(1, name) + Number(20, 1) + "\x15" +
                               std::string(reinterpret_cast<const char*>(&number), 4));
    };
    return Node("RandomUniform", {}, {output},
                bound("low", 2) + bound("high", 0) +
                        Text(5, Text(1, "shape") + Number(20, 7) + Number(8, 1)));
}

// Goes on for as many turns as it is told, with tensors of its own.
std::string LoopNode(const std::string& turns, const std::string& start,
                     const std::string& output) {
    const std::string body = Text(2, "body") + Input("i", {}, kInt64) + Input("go", {}, 9) +
                             Input("v", {1}) + Output("on", {}, 9) + Output("w", {1}) +
                             Node("Identity", {"go"}, {"on"}) + Node("Add", {"v", "v"}, {"w"});
    return Node("Loop", {turns, "", start}, {output}, GraphAttribute("body", body));
}

constexpr char kFault[] = "the engine found itself at fault over this request";

TEST(Engine, OutlivesNumbersThatItTrusts) {
    Cancellation cancellation;
    // It writes beside the tensor where a diagonal is too far off.
    const auto triangle = test::CaseModel("test_triu_pos");
    const OnnxRunner upper({triangle.data(), triangle.size()}, {}, cancellation);
    const auto x = std::make_shared<TestTensor>(AI_DATA_TYPE_INT64, std::vector<uint8_t>(160));
    EXPECT_EQ("", FailureOf(upper, {x, Int64s({-1})}, {x}));
    for (const int64_t diagonal : {int64_t{1} << 31, INT64_MIN}) {
        EXPECT_EQ("input k takes numbers of 32 bits only",
                  FailureOf(upper, {x, Int64s({diagonal})}, {x}));
    }
    const std::string file = Model(Output("y", {1}) + AbortingNode("y"));
    const OnnxRunner random(Range(file), {}, cancellation);
    EXPECT_EQ(kFault, FailureOf(random, {}, {Floats({0})}));
    EXPECT_EQ("the engine has failed at this model before", FailureOf(random, {}, {Floats({0})}));
    // What such runs leave behind is one client's, and not without end.
    const auto memory = std::make_shared<EngineMemory>(1 << 20, std::make_shared<Client>(getpid()));
    for (int i = 0; i < 8; ++i) {
        const OnnxRunner again(Range(file), {}, cancellation, memory);
        EXPECT_EQ(kFault, FailureOf(again, {}, {Floats({0})}));
    }
    EXPECT_THROW(OnnxRunner(Range(file), {}, cancellation, memory), std::exception);
}

TEST(EngineMemory, BoundsWhatAnOperatorMakesForItself) {
    if (test::kSanitized) {
        GTEST_SKIP() << "the sanitizers' own allocator takes the place of the framework's";
    }
    const std::string file =
            Model(Input("x", {1, 1, 2, 2}) + Input("rois", {1, 4}) + Input("of", {1}, kInt64) +
                  Output("y", {1, 1, 1, 1}) + Node("RoiAlign", {"x", "rois", "of"}, {"y"}));
    Cancellation cancellation;
    const OnnxRunner runner(Range(file), {}, cancellation,
                            std::make_shared<EngineMemory>(1 << 22, Client::Of(0)));
    const auto run = [&](float side) {
        Request request{{},
                        {Floats({1, 2, 3, 4}), Floats({0, 0, side, side}), Int64s({0})},
                        {Floats({0})},
                        0};
        runner.Run(request, cancellation);
    };
    run(2);
    // So many samples are taken of a region, each of some 40 bytes, as it has pixels.
    EXPECT_THROW(run(1000), std::exception);
    run(2);

    // Some hundred bytes for each turn, whose result has none. In the turn `last` it fails.
    const std::string fails = Text(2, "then") + Output("a", {1}) + AbortingNode("a");
    const std::string goesOn = Text(2, "else") + Output("b", {0}) + Node("Identity", {"e"}, {"b"});
    const std::string body =
            Text(2, "body") + Input("i", {}, kInt64) + Input("go", {}, 9) + Output("on", {}, 9) +
            Output("s", {-1}) + Node("Identity", {"go"}, {"on"}) +
            Node("Equal", {"i", "last"}, {"is"}) +
            Node("If", {"is"}, {"s"},
                 GraphAttribute("then_branch", fails) + GraphAttribute("else_branch", goesOn));
    const std::string loop = Model(Input("n", {}, kInt64) + Input("last", {}, kInt64) +
                                   Output("y", {2}, kInt64) + Initializer(Tensor("e", {0}, "")) +
                                   Node("Loop", {"n", ""}, {"all"}, GraphAttribute("body", body)) +
                                   Node("Shape", {"all"}, {"y"}));
    const auto memory = std::make_shared<EngineMemory>(12 << 20, Client::Of(0));
    const OnnxRunner turns(Range(loop), {}, cancellation, memory);
    const size_t idle = memory->taken();
    const auto y = Int64s({0, 0});
    const auto take = [&](int64_t count, int64_t last) {
        return FailureOf(turns, {Int64s({count}), Int64s({last})}, {y});
    };
    EXPECT_NE(std::string::npos, take(1 << 16, -1).find("more memory"));
    EXPECT_EQ(idle, memory->taken());
    EXPECT_EQ("", take(1000, -1));
    EXPECT_EQ(Int64s({1000, 0})->bytes(), y->bytes());
    // What it has made then stays, and counts.
    EXPECT_EQ(kFault, take(1 << 15, (1 << 15) - 1));
    EXPECT_LE(idle + (1 << 20), memory->taken());
}

std::set<std::string> Threads() {
    std::set<std::string> ids;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        ids.insert(thread.path().filename());
    }
    return ids;
}

// Nothing stays at work for it: neither another request, nor threads of the engine's own.
TEST(Engine, EndsAllThatIsAtWorkForAModelThatItFailsAt) {
    Cancellation cancellation;
    std::thread([] {}).join();  // With the first a sanitizer starts its own.
    const std::set<std::string> before = Threads();
    const auto onlyOurs = [&] {
        const std::set<std::string> now = Threads();  // One that was joined may just have gone.
        return std::includes(before.begin(), before.end(), now.begin(), now.end());
    };
    {
        constexpr int64_t kMany = 1 << 20;
        const std::string file =
                Model(Input("x", {kMany}, kInt64) + Input("y", {kMany}, kInt64) +
                      Output("z", {kMany}, kInt64) + Node("Div", {"x", "y"}, {"z"}));
        const OnnxRunner runner(Range(file), ConfigOf({{"threads", "4"}}), cancellation);
        EXPECT_FALSE(onlyOurs());
#ifdef __x86_64__  // Elsewhere that has a result.
        const auto least = Int64s(std::vector<int64_t>(kMany, INT64_MIN));
        const auto minusOne = Int64s(std::vector<int64_t>(kMany, -1));
        EXPECT_EQ(kFault, FailureOf(runner, {least, minusOne}, {least}));
        EXPECT_TRUE(test::eventually(onlyOurs));
#endif
    }
    const std::string abort = Text(2, "then") + Output("a", {1}) + AbortingNode("a");
    const std::string loop = Text(2, "else") + Output("b", {1}) + LoopNode("n", "x", "b");
    const std::string file = Model(
            Input("fails", {}, 9) + Input("x", {1}) + Input("n", {}, kInt64) + Output("y", {1}) +
            Node("If", {"fails"}, {"y"},
                 GraphAttribute("then_branch", abort) + GraphAttribute("else_branch", loop)));
    const auto memory = std::make_shared<EngineMemory>(1 << 20, Client::Of(0));
    const OnnxRunner runner(Range(file), ConfigOf({{"threads", "2"}}), cancellation, memory);
    const auto run = [&](uint8_t fails) {
        const auto flag =
                std::make_shared<TestTensor>(AI_DATA_TYPE_BOOL, std::vector<uint8_t>{fails});
        return FailureOf(runner, {flag, Floats({1}), Int64s({INT64_MAX})}, {Floats({0})});
    };
    const size_t idle = memory->taken();
    std::thread other([&] { EXPECT_EQ(kFault, run(0)); });
    EXPECT_TRUE(test::eventually([&] { return memory->taken() > idle; }));
    EXPECT_EQ(kFault, run(1));
    other.join();
    EXPECT_TRUE(test::eventually(onlyOurs));
}

TEST(Engine, EndsWhatIsCancelled) {
    const std::string file = Model(Input("x", {1}) + Input("n", {}, kInt64) + Output("y", {1}) +
                                   LoopNode("n", "x", "y"));
    const auto memory = std::make_shared<EngineMemory>(1 << 20, Client::Of(0));
    Cancellation cancellation;
    const OnnxRunner runner(Range(file), {}, cancellation, memory);
    const auto y = Floats({0});
    RunOn(runner, {Floats({1}), Int64s({3})}, {y});
    EXPECT_EQ(Floats({8})->bytes(), y->bytes());

    const size_t idle = memory->taken();
    std::thread client([&] {
        EXPECT_TRUE(test::eventually([&] { return memory->taken() > idle; }));
        cancellation.Cancel(CancelCause::kClientGone);
    });
    Request request{{}, {Floats({1}), Int64s({INT64_MAX})}, {y}, 0};
    EXPECT_THROW(runner.Run(request, cancellation), std::exception);
    client.join();
    EXPECT_EQ(idle, memory->taken());
    EXPECT_THROW(OnnxRunner(Range(file), {}, cancellation), std::exception) << "nor is it loaded";
}

TEST(Engine, SharesItsThreadsAmongAllAndRefusesNobody) {
    const std::vector<uint8_t> file = test::CaseModel("test_relu");
    Cancellation cancellation;
    std::vector<std::unique_ptr<OnnxRunner>> runners;
    runners.reserve(20);
    for (int i = 0; i < 20; ++i) {
        runners.push_back(std::make_unique<OnnxRunner>(ByteRange{file.data(), file.size()},
                                                       ConfigOf({{"threads", "8"}}), cancellation));
    }
    EXPECT_EQ(0U, EngineThreads(1).count()) << "all are taken";
    const auto in = Floats(std::vector<float>(60, -1)), out = Floats(std::vector<float>(60, 5));
    RunOn(*runners.back(), {in}, {out});
    EXPECT_EQ(Floats(std::vector<float>(60))->bytes(), out->bytes());
    runners.clear();
    EXPECT_EQ(1U, EngineThreads(1).count());
}

TEST(RunnerConfig, RefusesWhatHasNoMeaning) {
    const std::pair<const char*, std::vector<const char*>> cases[] = {
            {"threads", {"0", "-1", "65", "x", "1x", "99999999999999999999"}},
            {"scale", {"1x", "nan", "1e999", " "}},
            {"profile", {"/etc/passwd"}},
    };
    for (const auto& [name, values] : cases) {
        for (const char* const value : values) {
            AIConfig config;
            config.SetPara(name, value);
            EXPECT_FALSE(RunnerConfig().Read(config)) << name << ' ' << value;
        }
    }
}

}  // namespace
}  // namespace orva::reference
