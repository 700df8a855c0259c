/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <cstdint>
#include <exception>
#include <new>

#include <orva/reference/NodeStatus.h>

#include "base/Log.h"

namespace orva::reference {

// The status of an operation, and `onThrow` with a line in the log where it throws.
template <class Operation>
int32_t Guarded(const char* what, Operation&& operation, int32_t onThrow = kNodeFailed) {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        ORVA_LOGE("%s: no memory", what);
    } catch (const std::exception& error) {
        ORVA_LOGE("%s: %s", what, OneLine(error.what()).c_str());
    } catch (...) {
        ORVA_LOGE("%s", what);
    }
    return onThrow;
}

}  // namespace orva::reference
