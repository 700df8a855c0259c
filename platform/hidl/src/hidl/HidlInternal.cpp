/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#define LOG_TAG "hidl"

#include <hidl/HidlInternal.h>

#include <unistd.h>

#include <cinttypes>
#include <cstdio>

#include <log/log.h>
#include <orva_platform/CallObserver.h>

namespace android::hardware::details {

void logAlwaysFatal(const char* message) {
    // The log may go nowhere on a host, and nobody should have to guess why a process ended.
    fprintf(stderr, "fatal: %s\n", message);
    LOG_ALWAYS_FATAL("%s", message);
}

int32_t getPidIfSharable() {
    return getpid();
}

bool debuggable() {
    return true;
}

std::string toHexString(uint64_t value, bool prefix) {
    char text[2 + 16 + 1];
    snprintf(text, sizeof(text), prefix ? "0x%" PRIx64 : "%" PRIx64, value);
    return text;
}

HidlInstrumentor::Switch HidlInstrumentor::mEnableInstrumentation;
std::vector<HidlInstrumentor::InstrumentationCallback> HidlInstrumentor::mInstrumentationCallbacks;

HidlInstrumentor::~HidlInstrumentor() = default;

// A peer may ask for it, and has no say in what this process reports.
void HidlInstrumentor::configureInstrumentation(bool /*log*/) {}

}  // namespace android::hardware::details

namespace orva_platform {

namespace {

struct Observed : android::hardware::details::HidlInstrumentor {
    using HidlInstrumentor::mEnableInstrumentation;
    using HidlInstrumentor::mInstrumentationCallbacks;
};

}  // namespace

void setCallObserver(const CallObserverFunction& observer) {
    Observed::mInstrumentationCallbacks.assign(1, observer);
}

void observeCalls(bool on) {
    Observed::mEnableInstrumentation.turn(on);
}

}  // namespace orva_platform
