/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/EngineGuard.h"

#include <array>
#include <csetjmp>
#include <csignal>
#include <cstdlib>
#include <exception>

namespace orva::reference {

namespace {

// By what the engine ends: its assertions, addresses that are none, divisions by zero.
constexpr std::array kSignals = {SIGABRT, SIGSEGV, SIGFPE};

// Where this thread goes on when the engine ends; null outside of it.
thread_local std::jmp_buf* escape = nullptr;
std::terminate_handler outer = nullptr;
std::array<struct sigaction, kSignals.size()> outside;

// A handler must not return, and cannot throw.
[[noreturn]] void OnTerminate() {
    if (escape != nullptr) {
        std::longjmp(*escape, 1);  // NOLINT(cert-err52-cpp): nothing else leads out of here
    }
    if (outer != nullptr) {
        outer();
    }
    std::abort();
}

void OnSignal(int signal, siginfo_t* info, void*) {
    const bool sentByProcess = info->si_code == SI_USER;
    if (escape != nullptr && !sentByProcess) {
        std::longjmp(*escape, 1);  // NOLINT(cert-err52-cpp)
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
    outer = std::set_terminate(OnTerminate);
    struct sigaction action = {};
    action.sa_sigaction = OnSignal;
    // Not blocked while it is handled, since the handler does not return; and on the thread's other
    // stack where it has one, as sanitizers' do.
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    bool installed = true;
    for (size_t i = 0; i < kSignals.size(); ++i) {
        installed = sigaction(kSignals[i], &action, &outside[i]) == 0 && installed;
    }
    return installed;
}

class Escape {
public:
    Escape() : outside_(escape) { escape = &place; }
    ~Escape() { escape = outside_; }
    Escape(const Escape&) = delete;
    Escape& operator=(const Escape&) = delete;

    std::jmp_buf place;

private:
    std::jmp_buf* const outside_;
};

}  // namespace

bool GuardEngine(const std::function<void()>& work) {
    static const bool installed = Install();
    static_cast<void>(installed);
    Escape here;
    if (setjmp(here.place) != 0) {  // NOLINT(cert-err52-cpp)
        return false;
    }
    work();
    return true;
}

}  // namespace orva::reference
