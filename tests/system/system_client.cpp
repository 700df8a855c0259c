/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// A client of the service that takes its steps from standard input, one a line, and answers each
// with one line:
//
//   init N TYPE       opens session N            set-listener N    registers the results' listener
//   node-listener N   has the node report        uninit N          closes it
//   send N BYTES      one request                await             the next result
//   hold              results are not taken      await-held        until one is there
//   let-go            results are taken again    await-death       until the service is dead
//   open FIRST COUNT  opens and keeps sessions   rounds COUNT      opens, requests and closes
//   shrink BYTES      the input of the last request
//   requests          requests until it is killed, a line for each
//   manage FIRST COUNT  opens sessions on model managers and keeps them
//   unmanage N        closes one
//   builds            opens such a session and builds until it is killed, a line for each
//
// It ends with the input.

#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <mutex>
#include <sstream>

#include <orva_platform/Runtime.h>
#include <unistd.h>

#include "client/lib/ManagerSession.h"
#include "client/lib/Session.h"

namespace {

using android::sp;
using android::wp;
using android::hardware::hidl_death_recipient;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using orva::client::Completions;
using orva::client::Session;
using orva::client::Tensor;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;
using vendor::selkat::hardware::ai::V2_0::ModelBuffer;
using vendor::selkat::hardware::ai::V2_1::IAIService;
using vendor::selkat::hardware::ai::V2_1::IModelManagerService;

constexpr size_t kRequestBytes = 4096;

// Something that one thread waits for and another lets happen.
class Event {
public:
    void set(bool happened) {
        const std::lock_guard<std::mutex> lock(mLock);
        mHappened = happened;
        mChanged.notify_all();
    }
    void await() {
        std::unique_lock<std::mutex> lock(mLock);
        mChanged.wait(lock, [this] { return mHappened; });
    }

private:
    std::mutex mLock;
    std::condition_variable mChanged;
    bool mHappened = false;
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

class Client {
public:
    explicit Client(sp<IAIService> service)
            : mService(std::move(service)), mResults(new HeldCompletions), mDeath(new Death) {
        mService->linkToDeath(mDeath, 0).isOk();
    }

    std::string take(const std::string& step, std::istream& arguments);

private:
    std::string send(int32_t session, size_t bytes);
    std::string awaitResult();
    std::string open(int32_t first, int32_t count);
    std::string rounds(int count);
    [[noreturn]] void requests();
    std::string manage(int32_t first, int32_t count);
    [[noreturn]] void builds();

    const sp<IAIService> mService;
    const sp<HeldCompletions> mResults;
    const sp<Death> mDeath;
    std::vector<std::unique_ptr<Session>> mSessions;
    // What requests under way lie in.
    std::vector<Tensor> mTensors;
};

std::string Client::send(int32_t session, size_t bytes) {
    Tensor input({}, bytes);
    std::memset(input.data(), 0x5a, bytes);
    hidl_vec<AITensorHandle> inputs = {input.handle()};
    mTensors.push_back(std::move(input));
    mTensors.emplace_back(orva::client::TensorAttributes{}, bytes);
    hidl_vec<AITensorHandle> outputs = {mTensors.back().handle()};
    return textOf(mService->Process(session, "", inputs, outputs, 0));
}

std::string Client::awaitResult() {
    const auto result = mResults->await(std::chrono::seconds(60));
    if (!result || result->outputs.empty()) {
        return result ? std::to_string(result->result) + " empty" : "none";
    }
    const Tensor& output = result->outputs[0];
    const std::vector<uint8_t> expected(output.size(), 0x5a);
    const bool same = std::memcmp(output.data(), expected.data(), expected.size()) == 0;
    return std::to_string(result->result) + (same ? " same" : " different");
}

std::string Client::open(int32_t first, int32_t count) {
    for (int32_t i = 0; i < count; ++i) {
        mSessions.push_back(std::make_unique<Session>(mService, first + i, "echo", "",
                                                      std::vector<orva::client::Model>()));
    }
    return "0";
}

std::string Client::rounds(int count) {
    for (int i = 0; i < count; ++i) {
        Session session(mService, 1000, "echo", "", {});
        std::vector<Tensor> inputs;
        std::vector<Tensor> outputs;
        inputs.emplace_back(orva::client::TensorAttributes{}, kRequestBytes);
        outputs.emplace_back(orva::client::TensorAttributes{}, kRequestBytes);
        session.send("", inputs, outputs);
        const auto result = session.await();
        if (result.result != 0 || result.outputs.size() != 1) {
            return "result " + std::to_string(result.result);
        }
    }
    return "0";
}

void Client::requests() {
    Session session(mService, 1000, "echo", "", {});
    std::vector<Tensor> inputs;
    std::vector<Tensor> outputs;
    inputs.emplace_back(orva::client::TensorAttributes{}, kRequestBytes);
    outputs.emplace_back(orva::client::TensorAttributes{}, kRequestBytes);
    for (;;) {
        // Two at a time: one may run while the other is delivered.
        session.send("", inputs, outputs);
        session.send("", inputs, outputs);
        session.await();
        session.await();
        std::cout << "done" << std::endl;
    }
}

// The status of the first session that is refused, or 0.
std::string Client::manage(int32_t first, int32_t count) {
    const auto service = orva::client::findService<IModelManagerService>();
    std::string status = "0";
    for (int32_t i = first; i < first + count && status == "0"; ++i) {
        status = textOf(service->Init(i, "", "", {}));
    }
    return status;
}

void Client::builds() {
    const auto service = orva::client::findService<IModelManagerService>();
    // Zeros are no model, so every build fails, after its regions have been mapped.
    const orva::client::SharedRegion source("source", kRequestBytes);
    const orva::client::SharedRegion output("output", kRequestBytes);
    const hidl_vec<ModelBuffer> sources = {{"", source.handle(), source.size(), ""},
                                           {"", source.handle(), source.size(), ""}};
    const orva::client::ManagerSession session(service, 1, "", {});
    for (;;) {
        service->BuildModel(1, "", 0, sources, {"", output.handle(), output.size(), ""},
                            [](uint32_t, int32_t) {})
                .isOk();
        std::cout << "done" << std::endl;
    }
}

std::string Client::take(const std::string& step, std::istream& arguments) {
    int32_t number = 0;
    std::string type;
    size_t bytes = 0;
    arguments >> number;
    if (step == "init") {
        arguments >> type;
        return textOf(mService->Init(number, type, "", {}));
    }
    if (step == "set-listener") {
        return textOf(mService->SetListener(-number, mResults));
    }
    if (step == "node-listener") {
        return textOf(mService->SetListener(number, nullptr));
    }
    if (step == "uninit") {
        return mService->UnInit(number).isOk() ? "0" : "dead";
    }
    if (step == "send") {
        arguments >> bytes;
        return send(number, bytes);
    }
    if (step == "await") {
        return awaitResult();
    }
    if (step == "hold") {
        mResults->gate.set(false);
        mResults->arrived.set(false);
        return "0";
    }
    if (step == "let-go") {
        mResults->gate.set(true);
        return "0";
    }
    if (step == "await-held") {
        mResults->arrived.await();
        return "held";
    }
    if (step == "await-death") {
        mDeath->told.await();
        return "died";
    }
    if (step == "shrink") {
        const AITensorHandle input = mTensors[mTensors.size() - 2].handle();
        return ftruncate(input.data.handle()->data[0], number) == 0 ? "0" : "failed";
    }
    if (step == "open") {
        int32_t count = 0;
        arguments >> count;
        return open(number, count);
    }
    if (step == "rounds") {
        return rounds(number);
    }
    if (step == "requests") {
        requests();
    }
    if (step == "manage") {
        int32_t count = 0;
        arguments >> count;
        return manage(number, count);
    }
    if (step == "unmanage") {
        const auto service = orva::client::findService<IModelManagerService>();
        return service->UnInit(number).isOk() ? "0" : "dead";
    }
    if (step == "builds") {
        builds();
    }
    return "unknown step";
}

}  // namespace

int main(int, char** argv) {
    orva_platform::setServiceDirectory(argv[1]);
    try {
        Client client(orva::client::findService());
        for (std::string line; std::getline(std::cin, line);) {
            std::istringstream words(line);
            std::string step;
            words >> step;
            std::string outcome;
            try {
                outcome = client.take(step, words);
            } catch (const std::exception& error) {
                outcome = error.what();
            }
            std::cout << outcome << std::endl;
        }
    } catch (const std::exception& error) {
        fprintf(stderr, "system_client: %s\n", error.what());
        orva_platform::stop();
        return 3;
    }
    orva_platform::stop();
    return 0;
}
