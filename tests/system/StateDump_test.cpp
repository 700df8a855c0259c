/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// What the model manager service tells of clients in other processes.

#include <nlohmann/json.hpp>

#include "client/lib/StateDump.h"
#include "framework/OnnxCase.h"
#include "system/SystemTest.h"

namespace orva::test {

namespace {

using nlohmann::json;

class StateDump : public SystemTest {
protected:
    static json dump(const std::vector<std::string>& options = {}) {
        std::vector<std::string> all = {"--json"};
        all.insert(all.end(), options.begin(), options.end());
        return json::parse(
                client::stateOf(*client::findService<client::ModelManagerService>(), all));
    }
    // The sessions' ids, and of each whether it has a listener.
    static json sessionsOf(const json& state) {
        json sessions = json::object();
        for (const json& session : state["sessions"]) {
            sessions[session["id"].get<std::string>()] = session["listener"];
        }
        return sessions;
    }
};

TEST_F(StateDump, ShowsEachClientsSessionsAndTensorsAsLongAsItLives) {
    startHost();
    const auto bound = newClient();
    const auto idle = newClient();
    ASSERT_EQ(bound->ask("bind 3 " + std::string(kOnnxCases) + "/test_relu/model.onnx"), "0");
    ASSERT_EQ(idle->ask("manage 7 2"), "0");
    const json idles = {{idle->idOf(7), false}, {idle->idOf(8), false}};
    json everyones = idles;
    everyones[bound->idOf(3)] = true;
    // The computation is counted a little after its result has arrived.
    EXPECT_TRUE(eventually([&] {
        return dump()["requests"] == json{{"in_flight", 0}, {"done", 1}};
    }));

    const json all = dump();
    EXPECT_EQ(all["pid"], host().pid());
    EXPECT_EQ(sessionsOf(all), everyones);
    EXPECT_EQ(all["held"]["mapped_bytes"], 480);
    ASSERT_EQ(all["tensors"]["listed"].size(), 2U);
    for (const json& tensor : all["tensors"]["listed"]) {
        EXPECT_EQ(tensor["pid"], bound->pid());
        EXPECT_EQ(tensor["bytes"], 240);
    }
    const json one = dump({"--client", bound->idOf(3)});
    EXPECT_EQ(sessionsOf(one), json({{bound->idOf(3), true}}));
    EXPECT_EQ(one["requests"]["done"], 1);
    const json other = dump({"--client", std::to_string(idle->pid())});
    EXPECT_EQ(sessionsOf(other), idles);
    EXPECT_EQ(other["requests"]["done"], 0);
    EXPECT_EQ(other["tensors"]["alive"], 0);

    bound->kill();
    EXPECT_TRUE(eventually([&] {
        const json now = dump();
        return sessionsOf(now) == idles && now["tensors"]["alive"] == 0 &&
               now["held"]["mappings"] == 0;
    })) << dump();
}

}  // namespace

}  // namespace orva::test
