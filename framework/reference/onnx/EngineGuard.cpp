/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/EngineGuard.h"

#include <csetjmp>
#include <cstdlib>
#include <exception>

namespace orva::reference {

namespace {

// Where this thread goes on when the engine ends; null outside of it.
thread_local std::jmp_buf* escape = nullptr;
std::terminate_handler outer = nullptr;

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
    static const bool installed = [] {
        outer = std::set_terminate(OnTerminate);
        return true;
    }();
    static_cast<void>(installed);
    Escape here;
    if (setjmp(here.place) != 0) {  // NOLINT(cert-err52-cpp)
        return false;
    }
    work();
    return true;
}

}  // namespace orva::reference
