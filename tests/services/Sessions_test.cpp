/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AIServiceConnectManager.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "common/ServiceId.h"
#include "services/ServiceTest.h"

namespace orva::hidl::test {
namespace {

using Sessions = ServiceTest;

const std::string kInit = "I Init: " + kName + " Init\n";
const std::string kOpened = kAdmitted + kMade + kInitialised + "- UpdateServiceTime 5\n";
const std::string kRemove = "I RemoveService: " + kName + " RemoveService PID:5";
const std::string kRemoved = kRemove + "\n" + kGone + kRemove + " Complete\n";

std::string NotThere(const std::string& id) {
    return "E RemoveService: RemoveService service " + id + " is not create\n";
}

TEST_F(Sessions, InitReadsConfigAndModelsInOrder) {
    Region first(4096), third(4096);
    first.Write<uint8_t>({1, 2, 3});
    third.Write<uint8_t>({4, 5});
    hidl_vec<ModelBuffer> models = {ModelBuffer{}, Model("a", &first, 3), Model("b", nullptr, 100),
                                    Model("c", &third, 2), Model("d", nullptr, 0)};
    models[4].description = "not a description";
    EXPECT_EQ(kInit + kOpened + "= 0\n", Outcome(service_->Init(5, kType, kConfig, models)));
    EXPECT_EQ("b", script_.config.GetPara("a"));

    // What a model does not bring it has from the one before.
    std::string seen;
    for (const AIModelDescription& model : script_.models) {
        seen += model.name() + ":";
        for (size_t i = 0; i < model.data_size(); ++i) {
            seen += std::to_string(model.data()[i]);
        }
        seen += " ";
    }
    EXPECT_EQ(": a:123 b:123 c:45 c:45 ", seen);

    // A second time succeeds and changes nothing.
    script_.status = 9;
    EXPECT_EQ(kInit + kAdmitted + "E Init: Init service PID:5 is already create\n= 0\n",
              Outcome(Init(5)));
    script_.status = 0;
    EXPECT_EQ(0, Ask(5));
}

TEST_F(Sessions, InitAnswersWhatWentWrong) {
    // More than a client's regions may take of the address space.
    constexpr uint64_t kEndless = uint64_t{1} << 46;
    Region page(4096), empty(4096), endless(kEndless);
    empty.Get()->numFds = 0;
    const std::string full = "E Init: The number of service is more than limit, init failed.\n"
                             "= 1 refused\n",
                      none = kAdmitted + "E Init: create AIService type " + kType +
                             " error\n= 1 refused\n",
                      unmapped = kAdmitted + kMade + "E Init: mmap fail\n= 1 refused\n",
                      failed = kAdmitted + kMade + kInitialised + "E Init: Service init failed\n" +
                               kUndone + "= 77 refused\n";
    const struct {
        ::orva::test::Handle* region;
        uint64_t size;
        std::string outcome;
        bool opened;  // The client must end what is left before it can try again.
    } cases[] = {
            {&page, 1, full, false},
            {&page, 1, none, false},
            {&page, 4097, unmapped, true},
            {&empty, 4096, unmapped, true},
            {&endless, kEndless, unmapped, true},
            {&page, 1ULL << 63, unmapped, true},
            {&page, 1, failed, kUndone.empty()},
    };
    for (const auto& each : cases) {
        reference::SetClientLimit(each.outcome == full ? 0 : 512);
        script_.makesNone = each.outcome == none;
        script_.status = each.outcome == failed ? 77 : 0;
        // Borrowed, as in a call from another process.
        ModelBuffer both[2] = {Model("a", &page, 4096), {}};
        both[1].modelHandle = each.region->Get();
        both[1].size = each.size;
        hidl_vec<ModelBuffer> models;
        models.setToExternal(both, 2);
        EXPECT_EQ(kInit + each.outcome, Outcome(service_->Init(5, kType, "", models)));
        script_.status = 0;
        EXPECT_EQ(each.opened ? 0 : 2, Ask(5));
        service_->UnInit(5);
        Outcome(0);  // forgets what that was refused
    }
}

TEST_F(Sessions, InitAtTheLimitEvictsTheLongestIdleClient) {
    ASSERT_EQ(0, Init(6));
    const sp<FakeListener> listener = Listen();
    EXPECT_EQ(0, Ask(6));  // a sign of life
    Story();
    reference::SetIdleTimeout(std::chrono::nanoseconds(0));
    reference::SetClientLimit(2);
    EXPECT_EQ(0, Init(7));
    const std::string evicting = kInit + kRemoved + kAdmitted + kMade;
    EXPECT_EQ(evicting, Story().substr(0, evicting.size()));
    EXPECT_EQ(2, Ask(5));

    // A client of the other service is only reported.
    service_->UnInit(6);
    AIServiceConnectManager::GetInstance()->UpdateServiceTime("1:1");
    EXPECT_EQ(0, Ask(7));
    EXPECT_EQ(0, Init(6));
    EXPECT_NE(std::string::npos, Story().find(NotThere("1:1")));
    AIServiceConnectManager::GetInstance()->RemoveServiceTime("1:1");
}

// Who has one already counts as one more.
TEST_F(Sessions, InitAtTheLimitMayEvictTheCallersOwn) {
    ASSERT_EQ(0, Init(5));
    reference::SetClientLimit(1);
    EXPECT_EQ(1, Init(5));
    EXPECT_EQ(1, script_.alive);
    reference::SetIdleTimeout(std::chrono::nanoseconds(0));
    Story();
    EXPECT_EQ(0, Init(5));
    EXPECT_NE(std::string::npos, Story().find("framework made"));
    EXPECT_EQ(1, script_.alive);
}

TEST_F(Sessions, UnInitEndsOne) {
    const sp<FakeListener> listener = Listen();
    // A dead client's answers must not matter.
    listener->transport = android::DEAD_OBJECT;
    const std::string called = "I UnInit: " + kName + " UnInit\n";
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ(called + kRemoved, Story());
    EXPECT_EQ(1, listener->getStrongCount());
    EXPECT_EQ(1, listener->recipient->getStrongCount());

    // Where there is none, a listener stays.
    ASSERT_EQ(0, service_->SetListener(-5, listener));
    Story();
    EXPECT_TRUE(service_->UnInit(5).isOk());
    EXPECT_EQ(called + kRemove + "\n" + kNothingGone + NotThere("PID:5"), Story());
    EXPECT_EQ(1, service_->SetListener(-5, listener));
}

// A session may end while a request of it is on its way to say that it is in use.
TEST_F(Sessions, ThatEndedAmidACallAreInUseIfTheyCameBack) {
    for (const bool comesBack : {false, true}) {
        ASSERT_EQ(0, Init(5));
        beforeUpdate = [=] {
            service_->UnInit(5);
            EXPECT_EQ(0, comesBack ? Init(5) : 0);
        };
        EXPECT_EQ(0, Ask(5));
        EXPECT_EQ(comesBack ? 1U : 0U, reference::ClientCount());
    }
}

// Or the request sees too early that it need not remove the time again.
TEST_F(Sessions, EndBeforeTheirTimeIsRemoved) {
    ASSERT_EQ(0, Init(5));
    const auto record = RecordOf(5);
    bool hadEnded = false;
    afterRemoval = [&] { hadEnded = record->HasEnded(); };
    service_->UnInit(5);
    EXPECT_TRUE(hadEnded);
}

TEST(ServiceId, NegatedNumbersAlwaysHaveAMeaning) {
    EXPECT_EQ(INT32_MAX, ListenerClientId(-INT32_MAX));
    EXPECT_EQ(INT32_MIN, ListenerClientId(INT32_MIN));
    EXPECT_EQ(std::to_string(getpid()) + ":-2147483648", MakeServiceId(INT32_MIN));
}

TEST_F(Sessions, EndWithTheirClient) {
    // Death recipients know the process's own service.
    service_ = Service::GetInstance();
    const sp<FakeListener> listener = Listen();
    listener->recipient->serviceDied(0, nullptr);
    EXPECT_EQ("I serviceDied: AIClient PID:5 is inactive\n" + kRemoved, Story());
    EXPECT_EQ(2, Ask(5));
    EXPECT_EQ(1, listener->getStrongCount());
}

TEST_F(Sessions, EndAlsoWithANullListener) {
    EXPECT_EQ(0, service_->SetListener(-6, nullptr));
    ASSERT_EQ(0, Init(6));
    service_->UnInit(6);
    EXPECT_EQ(2, Ask(6));
}

TEST_F(Sessions, LetGoOfTheirListenerWithoutALock) {
    sp<FakeListener> listener = Listen();
    listener->atEnd = [] { NoteCall("listener gone"); };
    listener->recipient = nullptr;
    listener = nullptr;
    service_->UnInit(5);
    EXPECT_NE(std::string::npos, Story().find("\n- listener gone\n"));
}

// A client that dies while it sets its listener: the recipient hears of it on another thread.
TEST_F(Sessions, EndWithAClientThatDiesInSetListener) {
    service_ = Service::GetInstance();
    ASSERT_EQ(0, Init(5));
    std::future<void> death;
    const sp<FakeListener> listener = new FakeListener;
    listener->duringLink = [&] {
        death = std::async(std::launch::async,
                           [&, recipient = listener->recipient] { recipient->serviceDied(0, {}); });
    };
    listener->transport = android::DEAD_OBJECT;
    EXPECT_EQ(0, service_->SetListener(-5, listener));
    death.get();
    // Whichever came first: the dying one's session ends, and the listener with it or with the
    // next.
    EXPECT_EQ(2, Ask(5));
}

// What a process has left behind that has ended without a word to the platform, or before anybody
// listened for it.
class LeftBehind : public ServiceTest {
protected:
    // Opens sessions 5 and 6, and sets listeners for 5 and for 7, which has no session.
    void Leave() {
        const CallsFrom dying(process_.Pid());
        EXPECT_EQ(0, Init(5));
        EXPECT_EQ(0, Init(6));
        EXPECT_EQ(0, service_->SetListener(-5, listener_));
        EXPECT_EQ(0, service_->SetListener(-7, listener_));
        // Nothing of a living one's goes.
        EXPECT_TRUE(service_->ping().isOk());
        EXPECT_EQ(0, Ask(5));
    }
    void ExpectGone() {
        const CallsFrom dead(process_.Pid());
        EXPECT_EQ(2, Ask(5));
        EXPECT_EQ(2, Ask(6));
        EXPECT_EQ(1, listener_->getStrongCount());
        EXPECT_EQ(0U, reference::ClientCount());
    }

    void TearDown() override {
        listener_->recipient = nullptr;
        ServiceTest::TearDown();
    }

    IdleProcess process_;
    const sp<FakeListener> listener_ = new FakeListener;
};

TEST_F(LeftBehind, GoesWhenTheServiceIsAskedForALifeSign) {
    Leave();
    process_.End();
    EXPECT_TRUE(service_->ping().isOk());
    ExpectGone();
}

TEST_F(LeftBehind, IsShownAsItIs) {
    Leave();
    process_.End();
    const std::string dump = Dump();
    EXPECT_NE(std::string::npos, dump.find("process \"gone\"")) << dump;
    EXPECT_EQ(std::string::npos, dump.find("process \"alive\"")) << dump;
    EXPECT_NE(std::string::npos, dump.find("program \"gone\"")) << dump;
    EXPECT_TRUE(service_->ping().isOk());
    ExpectGone();
    listener_->recipient = nullptr;
    EXPECT_EQ(std::string::npos, Dump().find("gone"));
}

// By a process that has its number, and only sets a listener.
TEST_F(LeftBehind, IsInNobodysWay) {
    Leave();
    process_.End();
    const CallsFrom next(process_.Pid());
    EXPECT_EQ(0, service_->SetListener(-5, listener_));
    EXPECT_EQ(2, Ask(5));
    EXPECT_EQ(0, Init(5));
    service_->UnInit(5);
}

TEST_F(LeftBehind, MakesRoomForTheLiving) {
    reference::SetClientLimit(3);
    Leave();
    process_.Reap();
    EXPECT_EQ(0, Init(5));
    service_->UnInit(5);
    ExpectGone();
}

// Letting go of a listener can take long, and by then the next of the number may be a client.
TEST_F(LeftBehind, TakesNothingOfTheNextWithIt) {
    Leave();
    process_.End();
    const CallsFrom next(process_.Pid());
    sp<FakeListener> listener = new FakeListener;
    listener->atEnd = [&] { EXPECT_EQ(0, Init(6)); };
    {
        MutexLock lock(service_->listenerMutex);
        service_->clientListeners.at(MakeServiceId(5)) = std::move(listener);
    }
    EXPECT_TRUE(service_->ping().isOk());
    EXPECT_EQ(0, Ask(6));
    service_->UnInit(6);
}

constexpr size_t kClients = 6, kRounds = 60, kRequests = 3;

// Completions under way, each on a thread of its own.
std::mutex completionsMutex;
std::vector<std::future<void>> completions;

struct OwnScript {
    Script script;
};

// A framework object that completes each request whenever its thread gets to it.
class RacingFramework : private OwnScript, public FakeFramework {
public:
    RacingFramework() : FakeFramework(OwnScript::script) {}

    int32_t Process(AIContext& context, const Outputs&, const Outputs& outputs, int32_t) override {
        if (script.listener == nullptr) {
            return 3;
        }
        const std::lock_guard<std::mutex> lock(completionsMutex);
        completions.push_back(std::async(std::launch::async, [=, to = script.listener] {
            to->OnProcessDone(context, 0, outputs);
        }));
        return 0;
    }
};

// Clients that open, ask and go in every way there is, also from inside their callbacks, while
// their results arrive and others evict them: what is accepted is delivered or dropped, and nothing
// is left in the end.
TEST_F(Sessions, EndWhileResultsArrive) {
    service_ = Service::GetInstance();  // whom death recipients know
    heldLocks = nullptr;                // nobody has the time to look
    std::atomic<size_t> accepted{0}, delivered{0};
    const auto play = [&](int32_t client) {
        Region region(100);
        AITensorHandle handle = TensorIn(region);
        Tensors tensors;
        tensors.setToExternal(&handle, 1);
        for (size_t round = 0; round < kRounds; ++round) {
            const sp<FakeListener> listener = new FakeListener;
            listener->during = [&, client, leaves = round % 3 == 0](const Tensors& outputs) {
                delivered += outputs.size();
                if (leaves) {
                    service_->UnInit(client);
                }
            };
            if (Init(client) != 0) {
                continue;
            }
            const int32_t set = service_->SetListener(-client, listener);
            // Eviction may have left nothing to serve; then nothing is accepted.
            service_->SetListener(client, nullptr).isOk();
            for (size_t request = 0; request < kRequests; ++request) {
                accepted += service_->Process(client, "", tensors, tensors, 0) == 0 ? 1 : 0;
                AskMore(*service_, client, tensors);
            }
            if (round % 2 == 0 && set == 0) {
                listener->recipient->serviceDied(0, nullptr);
            } else {
                service_->UnInit(client);
            }
        }
    };
    SetCreator([] { return new RacingFramework; });
    // Fewer places than clients, and nobody keeps one for certain.
    reference::SetClientLimit(kClients - 2);
    reference::SetIdleTimeout(std::chrono::nanoseconds(0));
    std::vector<std::thread> clients;
    for (size_t client = 1; client <= kClients; ++client) {
        clients.emplace_back(play, static_cast<int32_t>(client));
    }
    for (std::thread& client : clients) {
        client.join();
    }
    reference::SetClientLimit(512);
    // Waits for those that are still to come.
    completions.clear();
    // An eviction between Init and SetListener leaves a listener behind, which goes with the next
    // session.
    for (int32_t client = 1; client <= static_cast<int32_t>(kClients); ++client) {
        EXPECT_EQ(0, Init(client));
        service_->UnInit(client);
    }
    size_t dropped = 0;
    for (const ::orva::test::LogLine& line : log_.Take(ANDROID_LOG_ERROR)) {
        dropped += line.message.find("OnProcessDone not find the listener") != std::string::npos;
    }
    EXPECT_LT(0U, accepted);
    EXPECT_EQ(accepted, delivered + dropped);
}

}  // namespace
}  // namespace orva::hidl::test
