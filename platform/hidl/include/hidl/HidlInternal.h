/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace android::hardware::details {

/** What a generated class is: an interface, a stub, a proxy, or a passthrough wrapper. */
struct i_tag {};
struct bnhw_tag {};
struct bphw_tag {};
struct bs_tag {};

/** Logs the message and ends the process. Only for faults of our own, never for a peer's. */
[[noreturn]] void logAlwaysFatal(const char* message);

/** A pointer that takes 8 bytes in every ABI, since it stands in structs that cross processes. */
template <typename T>
class alignas(8) hidl_pointer {
public:
    // Always the whole eight bytes, so that a 32-bit process sends no stale ones.
    hidl_pointer(T* pointer = nullptr) : mPadding(0) { mPointer = pointer; }

    operator T*() const { return mPointer; }
    T* operator->() const { return mPointer; }

private:
    union {
        uint64_t mPadding;
        T* mPointer;
    };
};
static_assert(sizeof(hidl_pointer<char>) == 8, "wrong size");

/** The pid that getDebugInfo tells to a peer. */
int32_t getPidIfSharable();
/** Whether getDebugInfo may tell a peer an object's address. */
bool debuggable();

std::string toHexString(uint64_t value, bool prefix = true);

/**
 * The hooks through which generated code reports every call and callback. Whether it does is
 * decided for the whole process; see orva_platform/CallObserver.h.
 */
class HidlInstrumentor {
public:
    enum InstrumentationEvent {
        SERVER_API_ENTRY = 0,
        SERVER_API_EXIT,
        CLIENT_API_ENTRY,
        CLIENT_API_EXIT,
        SYNC_CALLBACK_ENTRY,
        SYNC_CALLBACK_EXIT,
        ASYNC_CALLBACK_ENTRY,
        ASYNC_CALLBACK_EXIT,
        PASSTHROUGH_ENTRY,
        PASSTHROUGH_EXIT,
    };
    using InstrumentationCallback = std::function<void(
            InstrumentationEvent event, const char* package, const char* version,
            const char* interface, const char* method, std::vector<void*>* args)>;

    HidlInstrumentor(const std::string& /*package*/, const std::string& /*interface*/) {}
    virtual ~HidlInstrumentor();

    bool isInstrumentationEnabled() const { return mEnableInstrumentation; }
    const std::vector<InstrumentationCallback>& getInstrumentationCallbacks() const {
        return mInstrumentationCallbacks;
    }

protected:
    void configureInstrumentation(bool log = true);

    // Generated code knows both by these names, and copies them.
    class Switch {
    public:
        Switch() = default;
        Switch(const Switch& other) : mOn(other) {}
        Switch& operator=(const Switch&) = delete;
        operator bool() const { return mOn.load(std::memory_order_acquire); }
        void turn(bool on) { mOn.store(on, std::memory_order_release); }

    private:
        std::atomic<bool> mOn{false};
    };
    static Switch mEnableInstrumentation;
    // Changed only before the first time that it is enabled.
    static std::vector<InstrumentationCallback> mInstrumentationCallbacks;
};

/** The door through which received bytes become a string, vec or handle; see HidlBinderSupport.h.
 */
struct ReceivedFields;

}  // namespace android::hardware::details
