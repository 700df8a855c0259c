/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <hidl/HidlInternal.h>

namespace orva_platform {

// Hears of each call that this process serves, and each that it makes, on the thread that does so:
// as it begins, with pointers to the arguments, and as it ends, with pointers to the results. They
// are valid until the function returns. The end of a call that this process makes is left out when
// it fails; that of one that it serves never is.
using CallObserverFunction = android::hardware::details::HidlInstrumentor::InstrumentationCallback;

// Set it once, before it is asked for first; it stays for as long as the process. It is called by
// many threads at once, and must not throw.
void setCallObserver(const CallObserverFunction& observer);

// Calls that begin from here on are told of, or no longer. While they are not, a call costs the
// look at one flag. From any thread.
void observeCalls(bool on);

}  // namespace orva_platform
