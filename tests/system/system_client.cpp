/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// A client of the services that takes its steps from standard input, one a line, and answers each
// with one line:
//
//   init N TYPE       opens session N            set-listener N    registers the results' listener
//   node-listener N   has the node report        uninit N          closes it
//   session N         the first three, with an echo node
//   send N BYTES      one request                await             the next result
//   hold N BYTES      one request, whose result is held up in its callback
//   let-go            results are taken again    await-death       until the service is dead
//   shrink BYTES      the input of the last request
//   rounds COUNT      opens, requests and closes
//   requests          requests until it is killed, a line for each
//   manage FIRST COUNT  opens sessions on model managers and keeps them
//   unmanage N        closes one
//   bind N FILE       opens one with a model of 60 floats, binds its tensors and computes once
//   builds            opens such a session and builds until it is killed, a line for each
//
// It ends with the input.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include <orva_platform/Runtime.h>
#include <unistd.h>
#include <utils/Condition.h>
#include <utils/Mutex.h>

#include "client/lib/ManagerSession.h"
#include "client/lib/Session.h"

namespace {

using android::Condition;
using android::Mutex;
using android::sp;
using android::wp;
using android::hardware::hidl_death_recipient;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using orva::client::AIService;
using orva::client::Completions;
using orva::client::ManagerSession;
using orva::client::ModelManagerService;
using orva::client::Session;
using orva::client::Tensor;
using orva::client::TensorAttributes;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;
using vendor::selkat::hardware::ai::V2_0::ModelBuffer;

constexpr size_t kRequestBytes = 4096;

// Something that one thread waits for and another lets happen.
class Event {
public:
    void set(bool happened) {
        const Mutex::Autolock lock(mLock);
        mHappened = happened;
        mChanged.broadcast();
    }
    void await() {
        const Mutex::Autolock lock(mLock);
        while (!mHappened) {
            mChanged.wait(mLock);
        }
    }

private:
    Mutex mLock;
    Condition mChanged;
    bool mHappened GUARDED_BY(mLock) = false;
};

// Takes results only while its gate is open.
class HeldCompletions : public Completions {
public:
    HeldCompletions() { gate.set(true); }

    Return<void> OnProcessDone(int32_t result, const hidl_string& context,
                               const hidl_vec<AITensorHandle>& outputs) override {
        arrived.set(true);
        gate.await();
        return Completions::OnProcessDone(result, context, outputs);
    }

    Event arrived;
    Event gate;
};

class Death : public hidl_death_recipient {
public:
    void serviceDied(uint64_t, const wp<android::hidl::base::V1_0::IBase>&) override {
        told.set(true);
    }
    Event told;
};

std::string textOf(const Return<int32_t>& answer) {
    return answer.isOk()           ? std::to_string(static_cast<int32_t>(answer))
           : answer.isDeadObject() ? "dead"
                                   : "failed";
}

// Some requests at once, and their results.
void request(Session& session, int count) {
    std::vector<Tensor> inputs;
    inputs.emplace_back(TensorAttributes{}, kRequestBytes);
    std::vector<Tensor> outputs;
    outputs.emplace_back(TensorAttributes{}, kRequestBytes);
    for (int i = 0; i < count; ++i) {
        session.send("", inputs, outputs);
    }
    for (int i = 0; i < count; ++i) {
        const auto result = session.await();
        if (result.result != 0 || result.outputs.size() != 1) {
            throw std::runtime_error("result " + std::to_string(result.result));
        }
    }
}

class Client {
public:
    explicit Client(sp<AIService> service) : mService(std::move(service)) {
        mService->linkToDeath(mDeath, 0).isOk();
    }

    // The outcome of a step with its numbers and words.
    std::string take(const std::string& step, int32_t number, const std::string& word);

private:
    std::string send(int32_t session, size_t bytes);
    std::string awaitResult();
    void bind(int32_t session, const std::string& path);
    [[noreturn]] void builds();

    const sp<AIService> mService;
    const sp<HeldCompletions> mResults = new HeldCompletions;
    const sp<Death> mDeath = new Death;
    // What requests under way lie in.
    std::vector<Tensor> mTensors;
    std::vector<std::unique_ptr<ManagerSession>> mManaged;
};

std::string Client::send(int32_t session, size_t bytes) {
    Tensor input({}, bytes);
    std::fill_n(input.data(), bytes, 0x5a);
    const hidl_vec<AITensorHandle> inputs = {input.handle()};
    mTensors.push_back(std::move(input));
    mTensors.emplace_back(TensorAttributes{}, bytes);
    const hidl_vec<AITensorHandle> outputs = {mTensors.back().handle()};
    return textOf(mService->Process(session, "", inputs, outputs, 0));
}

std::string Client::awaitResult() {
    const auto result = mResults->await(std::chrono::seconds(60));
    if (!result || result->outputs.empty()) {
        return result ? std::to_string(result->result) + " empty" : "none";
    }
    const Tensor& output = result->outputs[0];
    const bool same = std::count(output.data(), output.data() + output.size(), 0x5a) ==
                      static_cast<ptrdiff_t>(output.size());
    return std::to_string(result->result) + (same ? " same" : " different");
}

void Client::bind(int32_t session, const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    std::vector<orva::client::Model> models;
    models.push_back({"", orva::client::SharedRegion("model", bytes.size())});
    std::copy(bytes.begin(), bytes.end(), models[0].bytes.data());
    mManaged.push_back(std::make_unique<ManagerSession>(
            orva::client::findService<ModelManagerService>(), session, "", models));

    TensorAttributes floats;
    floats.dataType = 1;
    std::vector<Tensor> inputs;
    inputs.emplace_back(floats, 60 * sizeof(float));
    std::vector<Tensor> outputs;
    outputs.emplace_back(floats, 60 * sizeof(float));
    mManaged.back()->bind("", inputs, outputs);
    mManaged.back()->start("");
    mManaged.back()->await();
}

void Client::builds() {
    const auto service = orva::client::findService<ModelManagerService>();
    // Zeros are no model, so every build fails, after its regions have been mapped.
    const orva::client::SharedRegion source("source", kRequestBytes);
    const orva::client::SharedRegion output("output", kRequestBytes);
    const ModelBuffer model = {"", source.handle(), source.size(), ""};
    const ManagerSession session(service, 1, "", {});
    for (;;) {
        service->BuildModel(1, "", 0, {model, model}, {"", output.handle(), output.size(), ""},
                            [](uint32_t, int32_t) {})
                .isOk();
        std::cout << "done" << std::endl;
    }
}

std::string Client::take(const std::string& step, int32_t number, const std::string& word) {
    if (step == "init") {
        return textOf(mService->Init(number, word, "", {}));
    }
    if (step == "set-listener") {
        return textOf(mService->SetListener(-number, mResults));
    }
    if (step == "node-listener") {
        return textOf(mService->SetListener(number, nullptr));
    }
    if (step == "session") {
        std::string statuses = take("init", number, "echo");
        statuses += take("set-listener", number, "");
        return statuses + take("node-listener", number, "");
    }
    if (step == "uninit") {
        return mService->UnInit(number).isOk() ? "0" : "dead";
    }
    if (step == "send") {
        return send(number, std::stoul(word));
    }
    if (step == "await") {
        return awaitResult();
    }
    if (step == "hold") {
        mResults->gate.set(false);
        mResults->arrived.set(false);
        std::string status = send(number, std::stoul(word));
        mResults->arrived.await();
        return status;
    }
    if (step == "let-go") {
        mResults->gate.set(true);
        return "0";
    }
    if (step == "await-death") {
        mDeath->told.await();
        return "died";
    }
    if (step == "shrink") {
        const AITensorHandle input = mTensors[mTensors.size() - 2].handle();
        return ftruncate(input.data.handle()->data[0], number) == 0 ? "0" : "failed";
    }
    if (step == "rounds") {
        for (int i = 0; i < number; ++i) {
            Session session(mService, 1000, "echo", "", {});
            request(session, 1);
        }
        return "0";
    }
    if (step == "requests") {
        for (Session session(mService, 1000, "echo", "", {});;) {
            // One may run while the other is delivered.
            request(session, 2);
            std::cout << "done" << std::endl;
        }
    }
    if (step == "manage") {
        const auto service = orva::client::findService<ModelManagerService>();
        // The status of the first session that is refused, or 0.
        std::string status = "0";
        for (int i = 0; i < std::stoi(word) && status == "0"; ++i) {
            status = textOf(service->Init(number + i, "", "", {}));
        }
        return status;
    }
    if (step == "unmanage") {
        const auto service = orva::client::findService<ModelManagerService>();
        return service->UnInit(number).isOk() ? "0" : "dead";
    }
    if (step == "bind") {
        bind(number, word);
        return "0";
    }
    if (step == "builds") {
        builds();
    }
    return "unknown step";
}

}  // namespace

int main(int, char** argv) {
    orva_platform::setServiceDirectory(argv[1]);
    int code = 0;
    try {
        Client client(orva::client::findService());
        for (std::string line; std::getline(std::cin, line);) {
            std::istringstream words(line);
            std::string step, word;
            int32_t number = 0;
            words >> step >> number >> word;
            try {
                std::cout << client.take(step, number, word) << std::endl;
            } catch (const std::exception& error) {
                std::cout << error.what() << std::endl;
            }
        }
    } catch (const std::exception& error) {
        fprintf(stderr, "system_client: %s\n", error.what());
        code = 3;
    }
    orva_platform::stop();
    return code;
}
