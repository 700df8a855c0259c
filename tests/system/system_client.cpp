/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// A client of the services that takes its steps from standard input, one a line, and answers each
// with one line:
//
//   init N TYPE       opens session N            set-listener N    registers the results' listener
//   session N         opens an echo session, with its results on the way to that listener
//   uninit N          closes it
//   send N BYTES      one request                await             the next result
//   hold N BYTES      one request, whose result is held up in its callback
//   let-go            results are taken again    await-death       until the service is dead
//   rounds COUNT      opens, requests and closes
//   requests          requests until it is killed, a line for each
//   managed           requests of a model manager, and builds, until it is killed, the same
//   measure COUNT     does honest work so many times; how it went: see Work
//   work              goes on with it until
//   rest              when it says how that went
//
// It ends with the input.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <future>
#include <iostream>
#include <map>
#include <sstream>

#include <orva_platform/Runtime.h>

#include "client/lib/ManagerSession.h"
#include "client/lib/Session.h"
#include "client/model/ModelFile.h"

namespace {

using namespace orva::client;
using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
using vendor::selkat::hardware::ai::V2_0::AITensorHandle;

constexpr size_t kRequestBytes = 4096;
constexpr char kModel[] = "/usr/share/libonnx-testdata/data/node/test_relu/model.onnx";

// One result that is held up in its callback.
struct Hold {
    std::promise<void> arrived;
    std::promise<void> letGo;
};

class HeldCompletions : public Completions {
public:
    Return<void> OnProcessDone(int32_t result, const hidl_string& context,
                               const hidl_vec<AITensorHandle>& outputs) override {
        if (Hold* const hold = next.exchange(nullptr)) {
            hold->arrived.set_value();
            hold->letGo.get_future().wait();
        }
        return Completions::OnProcessDone(result, context, outputs);
    }
    std::atomic<Hold*> next{nullptr};
};

class Death : public android::hardware::hidl_death_recipient {
public:
    void serviceDied(uint64_t, const android::wp<android::hidl::base::V1_0::IBase>&) override {
        told.set_value();
    }
    std::promise<void> told;
};

std::string textOf(const Return<int32_t>& answer) {
    return answer.isOk()           ? std::to_string(static_cast<int32_t>(answer))
           : answer.isDeadObject() ? "dead"
                                   : "failed";
}
std::string textOf(const Return<void>& answer) {
    return answer.isOk() ? "0" : "dead";
}

std::vector<Tensor> tensor(size_t bytes) {
    std::vector<Tensor> one;
    one.emplace_back(TensorAttributes{}, bytes);
    return one;
}

// Some requests at once, and their results.
void request(Session& session, int count) {
    const std::vector<Tensor> inputs = tensor(kRequestBytes), outputs = tensor(kRequestBytes);
    for (int i = 0; i < count; ++i) {
        session.send("", inputs, outputs);
    }
    for (int i = 0; i < count; ++i) {
        const Completion result = session.await();
        if (result.result != 0 || result.outputs.size() != 1) {
            throw std::runtime_error("result " + std::to_string(result.result));
        }
    }
}

// All that a model manager does in a session. There is one: who is killed between its opening and
// its listener keeps its place until the idle time-out.
[[noreturn]] void manage(const sp<ModelManagerService>& managers) {
    const ModelFile file(kModel);
    const TensorShape shape = file.models()[0].inputs[0];
    std::vector<Model> models;
    models.push_back(file.load());
    std::vector<Tensor> inputs, outputs;
    inputs.emplace_back(shape.attributes(), shape.bytes());
    outputs.emplace_back(shape.attributes(), shape.bytes());
    const SharedRegion built("built", kRequestBytes);
    for (ManagerSession session(managers, 1000, "", models);;) {
        session.send("", inputs, outputs);
        session.bind("", inputs, outputs);
        session.start("");
        if (session.await().result + session.await().result != 0 ||
            session.build(models, built) == 0) {
            throw std::runtime_error("it was not done");
        }
        std::cout << "done" << std::endl;
    }
}

// What an honest client of both services does, again and again, and how long that took: "COUNT LOST
// P99 LONGEST", the times in microseconds.
class Work {
public:
    Work(sp<AIService> service, sp<ModelManagerService> managers)
            : service_(std::move(service)), managers_(std::move(managers)) {}

    std::string measure(int count) {
        times_.clear();
        lost_ = 0;
        Session session(service_, 2000, "echo", "", {});
        for (int i = 0; (i < count || count == 0) && !resting_; ++i) {
            const auto start = std::chrono::steady_clock::now();
            try {
                i % 8 == 7 ? open() : request(session, 1);
            } catch (const std::exception& error) {
                ++lost_;
                fprintf(stderr, "lost: %s\n", error.what());
            }
            times_.push_back(std::chrono::duration_cast<std::chrono::microseconds>(
                    std::chrono::steady_clock::now() - start));
        }
        std::sort(times_.begin(), times_.end());
        return std::to_string(times_.size()) + " " + std::to_string(lost_) + " " +
               std::to_string(times_[(times_.size() - 1) * 99 / 100].count()) + " " +
               std::to_string(times_.back().count());
    }
    void start() {
        resting_ = false;
        result_ = std::async(std::launch::async, [this] { return measure(0); });
    }
    std::string rest() {
        resting_ = true;
        std::string result = result_.get();
        resting_ = false;
        return result;
    }

private:
    void open() {
        const Session session(service_, 2001, "echo", "", {});
        const ManagerSession manager(managers_, 2002, "", {});
    }

    const sp<AIService> service_;
    const sp<ModelManagerService> managers_;
    std::atomic<bool> resting_{false};
    std::future<std::string> result_;
    std::vector<std::chrono::microseconds> times_;
    int lost_ = 0;
};

class Client {
public:
    Client() { service_->linkToDeath(death_, 0).isOk(); }

    // The outcome of a step with its number and word.
    std::string take(const std::string& step, int32_t number, const std::string& word) {
        return steps_.at(step)(number, word);
    }

private:
    using Step = std::function<std::string(int32_t number, const std::string& word)>;

    std::string send(int32_t session, size_t bytes) {
        const std::vector<Tensor> inputs = tensor(bytes), outputs = tensor(bytes);
        std::fill_n(inputs[0].data(), bytes, 0x5a);
        return textOf(service_->Process(session, "", handlesOf(inputs), handlesOf(outputs), 0));
    }
    std::string awaitResult() {
        const auto result = results_->await(std::chrono::seconds(60));
        if (!result || result->outputs.empty()) {
            return "none";
        }
        const Tensor& output = result->outputs[0];
        const bool same = std::count(output.data(), output.data() + output.size(), 0x5a) ==
                          static_cast<ptrdiff_t>(output.size());
        return std::to_string(result->result) + (same ? " same" : " different");
    }

    const sp<AIService> service_ = findService();
    const sp<ModelManagerService> managers_ = findService<ModelManagerService>();
    const sp<HeldCompletions> results_ = new HeldCompletions;
    const sp<Death> death_ = new Death;
    Hold hold_;
    Work work_{service_, managers_};
    const std::map<std::string, Step> steps_ = {
            {"init",
             [&](int32_t n, auto& type) { return textOf(service_->Init(n, type, "", {})); }},
            {"set-listener",
             [&](int32_t n, auto&) { return textOf(service_->SetListener(-n, results_)); }},
            {"session",
             [&](int32_t n, auto&) {
                 std::string statuses = take("init", n, "echo");
                 statuses += take("set-listener", n, "");
                 return statuses + textOf(service_->SetListener(n, nullptr));
             }},
            {"uninit", [&](int32_t n, auto&) { return textOf(service_->UnInit(n)); }},
            {"send", [&](int32_t n, auto& bytes) { return send(n, std::stoul(bytes)); }},
            {"await", [&](auto...) { return awaitResult(); }},
            {"hold",
             [&](int32_t n, auto& bytes) {
                 results_->next = &hold_;
                 std::string status = send(n, std::stoul(bytes));
                 hold_.arrived.get_future().wait();
                 return status;
             }},
            {"let-go",
             [&](auto...) {
                 hold_.letGo.set_value();
                 return "0";
             }},
            {"await-death",
             [&](auto...) {
                 death_->told.get_future().wait();
                 return "died";
             }},
            {"rounds",
             [&](int32_t count, auto&) {
                 for (; count > 0; --count) {
                     Session session(service_, 1000, "echo", "", {});
                     request(session, 1);
                 }
                 return "0";
             }},
            {"requests",
             [&](auto...) -> std::string {
                 // One may run while the other is delivered.
                 for (Session session(service_, 1000, "echo", "", {});;) {
                     request(session, 2);
                     std::cout << "done" << std::endl;
                 }
             }},
            {"measure", [&](int32_t count, auto&) { return work_.measure(count); }},
            {"work",
             [&](auto...) {
                 work_.start();
                 return "0";
             }},
            {"rest", [&](auto...) { return work_.rest(); }},
            {"managed", [&](auto...) -> std::string { manage(managers_); }},
    };
};

}  // namespace

int main(int, char** argv) {
    orva_platform::setServiceDirectory(argv[1]);
    int code = 0;
    try {
        Client client;
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
