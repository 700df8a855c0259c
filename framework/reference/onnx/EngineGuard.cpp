/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/EngineGuard.h"

#include <link.h>
#include <linux/futex.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <ucontext.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <csetjmp>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <map>
#include <mutex>
#include <thread>

namespace orva::reference {

namespace {

// By what the engine ends: its assertions, addresses that are none, divisions that have no result.
constexpr std::array kSignals = {SIGABRT, SIGSEGV, SIGFPE};

class Escape;
// Where this thread goes on when the engine ends; null outside of it.
thread_local Escape* escape = nullptr;
std::terminate_handler outer = nullptr;
std::array<struct sigaction, kSignals.size()> outside;

// A thread's way out of the engine.
class Escape {
public:
    Escape() : id(latest += 2), outside_(escape) { escape = this; }
    ~Escape() { escape = outside_; }
    Escape(const Escape&) = delete;
    Escape& operator=(const Escape&) = delete;

    [[noreturn]] void Take() {
        std::longjmp(place, 1);  // NOLINT(cert-err52-cpp): nothing else leads out of here
    }

    const uintptr_t id;  // Even, and never used again.
    std::jmp_buf place;

private:
    static std::atomic<uintptr_t> latest;

    Escape* const outside_;
};
std::atomic<uintptr_t> Escape::latest{0};

// Where the engine's code lies.
struct Code {
    uintptr_t first = 0;
    uintptr_t end = 0;
};
Code engineCode;

void FindEngineCode() {
    dl_iterate_phdr(
            [](dl_phdr_info* library, size_t, void*) {
                const auto engine = reinterpret_cast<uintptr_t>(&OrtGetApiBase);
                for (int i = 0; i < library->dlpi_phnum; ++i) {
                    const ElfW(Phdr)& part = library->dlpi_phdr[i];
                    const uintptr_t first = library->dlpi_addr + part.p_vaddr;
                    if (part.p_type == PT_LOAD && engine - first < part.p_memsz) {
                        engineCode = {first, first + part.p_memsz};
                    }
                }
                return 0;
            },
            nullptr);
}

// Whether a signal found its thread where it holds nothing of the process's, as malloc's locks: in
// the engine's own code, or about to wait for work, or doing so; or for a lock, where that may be.
bool MayLeave(const void* context, bool fromLocks) {
    const mcontext_t& machine = static_cast<const ucontext_t*>(context)->uc_mcontext;
#if defined(__x86_64__)
    constexpr uint16_t kSystemCall = 0x050f;
    const auto place = static_cast<uintptr_t>(machine.gregs[REG_RIP]);
    const auto call = machine.gregs[REG_RAX];
    const auto operation = machine.gregs[REG_RSI];
#elif defined(__aarch64__)
    constexpr uint32_t kSystemCall = 0xd4000001;
    const uintptr_t place = machine.pc;
    const auto call = static_cast<int64_t>(machine.regs[8]);
    const auto operation = static_cast<int64_t>(machine.regs[1]);
#else
#error "say where a signal tells of system calls"
#endif
    if (place - engineCode.first < engineCode.end - engineCode.first) {
        return true;
    }
    auto instruction = kSystemCall;
    std::memcpy(&instruction, reinterpret_cast<const void*>(place), sizeof instruction);
    const auto waits = operation & FUTEX_CMD_MASK;
    return instruction == kSystemCall && call == SYS_futex &&
           (waits == FUTEX_WAIT_BITSET || (waits == FUTEX_WAIT && fromLocks));
}

void Interrupt(pthread_t thread, uintptr_t id, bool fromLocks) {
    sigval which = {};
    which.sival_ptr = reinterpret_cast<void*>(id + (fromLocks ? 1 : 0));
    pthread_sigqueue(thread, SIGABRT, which);
}

// A handler must not return, and cannot throw.
[[noreturn]] void OnTerminate() {
    if (escape != nullptr) {
        escape->Take();
    }
    if (outer != nullptr) {
        outer();
    }
    std::abort();
}

void OnSignal(int signal, siginfo_t* info, void* context) {
    if (info->si_code == SI_QUEUE && info->si_pid == getpid()) {
        // By Interrupt(), which tries again.
        const auto which = reinterpret_cast<uintptr_t>(info->si_ptr);
        const uintptr_t fromLocks = which % 2;
        if (escape != nullptr && escape->id == which - fromLocks &&
            MayLeave(context, fromLocks != 0)) {
            escape->Take();
        }
        return;
    }
    const bool sentByProcess = info->si_code == SI_USER;
    if (escape != nullptr && !sentByProcess) {
        escape->Take();
    }
    // It comes again, to who had it before.
    for (size_t i = 0; i < kSignals.size(); ++i) {
        if (kSignals[i] == signal) {
            sigaction(signal, &outside[i], nullptr);
        }
    }
    if (signal == SIGABRT || sentByProcess) {
        raise(signal);
    }
}

bool Install() {
    FindEngineCode();
    outer = std::set_terminate(OnTerminate);
    struct sigaction action = {};
    action.sa_sigaction = OnSignal;
    // Not blocked while it is handled, since the handler need not return; and on the thread's other
    // stack where it has one, as sanitizers' do.
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK | SA_RESTART;
    bool installed = true;
    for (size_t i = 0; i < kSignals.size(); ++i) {
        installed = sigaction(kSignals[i], &action, &outside[i]) == 0 && installed;
    }
    return installed;
}

// A sanitizer has all signals blocked in a handler, and so beyond it where it does not return.
void Unblock() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int signal : kSignals) {
        sigaddset(&signals, signal);
    }
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

}  // namespace

// The threads that are in the engine for one model.
class EngineGuard::Crew : public std::enable_shared_from_this<Crew> {
public:
    bool Run(const std::function<void()>& work) {
        Escape way;
        if (setjmp(way.place) != 0) {  // NOLINT(cert-err52-cpp)
            Unblock();
            EndOthers(way);
            return false;
        }
        const Member member(*this, way);
        if (member.refused) {
            return false;
        }
        work();
        return true;
    }

    // As the engine starts and joins a thread.
    static OrtCustomThreadHandle Start(void* crew, OrtThreadWorkerFn work, void* parameter) {
        try {
            auto thread = std::make_unique<std::thread>(
                    [crew = static_cast<Crew*>(crew)->shared_from_this(), work, parameter] {
                        if (!crew->Run([&] { work(parameter); })) {
                            pthread_detach(pthread_self());  // The engine joins none any more.
                        }
                    });
            return reinterpret_cast<OrtCustomThreadHandle>(thread.release());
        } catch (const std::system_error&) {
            return nullptr;
        }
    }
    static void Join(OrtCustomThreadHandle handle) {
        const std::unique_ptr<std::thread> thread(
                const_cast<std::thread*>(reinterpret_cast<const std::thread*>(handle)));
        thread->join();
    }

private:
    // A thread while it is in the engine, unless it leaves by its way out.
    struct Member {
        Member(Crew& ofCrew, const Escape& itsWay) : crew(ofCrew), way(itsWay) {
            const std::lock_guard<std::mutex> lock(crew.mutex_);
            refused = crew.failed_;
            if (!refused) {
                crew.inside_[way.id] = pthread_self();
            }
        }
        ~Member() {
            const std::lock_guard<std::mutex> lock(crew.mutex_);
            crew.inside_.erase(way.id);
        }
        Member(const Member&) = delete;
        Member& operator=(const Member&) = delete;

        Crew& crew;
        const Escape& way;
        bool refused;
    };

    void EndOthers(const Escape& way) {
        std::unique_lock<std::mutex> lock(mutex_);
        failed_ = true;
        inside_.erase(way.id);
        // At first they are left to come to rest, where they hold no locks. Who waits for one much
        // longer than such are held does so for one whose holder has gone.
        constexpr std::chrono::milliseconds kRest(10), kPause(1), kLocksAreHeld(500);
        for (auto waited = kRest; !inside_.empty(); waited += kPause) {
            lock.unlock();
            std::this_thread::sleep_for(waited == kRest ? kRest : kPause);
            lock.lock();
            for (const auto& [id, thread] : inside_) {
                Interrupt(thread, id, waited > kLocksAreHeld);
            }
        }
    }

    std::mutex mutex_;
    bool failed_ = false;
    std::map<uintptr_t, pthread_t> inside_;  // By their ways out.
};

EngineGuard::EngineGuard() : crew_(std::make_shared<Crew>()) {
    static const bool installed = Install();
    static_cast<void>(installed);
}
EngineGuard::~EngineGuard() = default;

void EngineGuard::Cover(Ort::SessionOptions& options) {
    options.SetCustomThreadCreationOptions(crew_.get());
    options.SetCustomCreateThreadFn(Crew::Start);
    options.SetCustomJoinThreadFn(Crew::Join);
}

bool EngineGuard::Run(const std::function<void()>& work) {
    return crew_->Run(work);
}

}  // namespace orva::reference
