/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <hwbinder/Binder.h>

namespace android::hardware {

// A proxy's way to the binder beneath it.
class IInterface : public virtual RefBase {
public:
    static sp<IBinder> asBinder(IInterface* interface) { return interface->onAsBinder(); }

protected:
    virtual IBinder* onAsBinder() = 0;
};

// The base of generated proxies: the interface, over a remote binder.
template <typename INTERFACE>
class BpInterface : public INTERFACE, public IInterface, public BpHwRefBase {
public:
    explicit BpInterface(const sp<IBinder>& remote) : BpHwRefBase(remote) {}
    IBinder* onAsBinder() override { return remote(); }
};

}  // namespace android::hardware
