/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/AIServiceBase.h>
#include <orva/AIServiceConnectManager.h>

#include <string>
#include <utility>

#include "services/ServiceFakes.h"

// The linker sends each call of SYMBOL to __wrap_SYMBOL (see CMakeLists.txt); __real_SYMBOL is the
// original. Session times are noted with the client's number.
#define STAND_IN(NAME, SYMBOL, ...)                         \
    void Real##NAME(__VA_ARGS__) __asm__("__real_" SYMBOL); \
    void NAME(__VA_ARGS__) __asm__("__wrap_" SYMBOL);       \
    void NAME(__VA_ARGS__)
#define MANAGER "_ZN4orva23AIServiceConnectManager"
#define SERIALIZE "_ZNK4orva9AIContext9SerializeB5cxx11Ev"
#define TEXT "NSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"

namespace orva::hidl::test {

STAND_IN(CreateIdleTimer, "_ZN4orva13AIServiceBase15CreateIdleTimerEv", AIServiceBase* node) {
    NoteCall("CreateIdleTimer");
    RealCreateIdleTimer(node);
}

STAND_IN(Update, MANAGER "17UpdateServiceTimeE" TEXT, AIServiceConnectManager* manager,
         std::string id) {
    NoteCall("UpdateServiceTime " + id.substr(id.find(':') + 1));
    if (const auto before = std::exchange(beforeUpdate, nullptr)) {
        before();
    }
    RealUpdate(manager, std::move(id));
}

STAND_IN(Remove, MANAGER "17RemoveServiceTimeE" TEXT, AIServiceConnectManager* manager,
         std::string id) {
    NoteCall("RemoveServiceTime " + id.substr(id.find(':') + 1));
    RealRemove(manager, std::move(id));
    if (const auto after = std::exchange(afterRemoval, nullptr)) {
        after();
    }
}

std::string RealSerialize(const AIContext*) __asm__("__real_" SERIALIZE);
std::string Serialize(const AIContext* context) __asm__("__wrap_" SERIALIZE);
std::string Serialize(const AIContext* context) {
    if (whenSerialized) {
        whenSerialized(*context);
    }
    return RealSerialize(context);
}

}  // namespace orva::hidl::test
