/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// What generated stubs and proxies stand on, with the generated code of the product's interfaces.
#include <android/hidl/base/1.0/BpHwBase.h>
#include <gtest/gtest.h>
#include <hidl/HidlPassthroughSupport.h>
#include <hidl/HidlTransportSupport.h>
#include <vendor/selkat/hardware/ai/2.0/BnHwAIServiceListener.h>
#include <vendor/selkat/hardware/ai/2.0/BpHwAIServiceListener.h>
#include <vendor/selkat/hardware/ai/2.1/BnHwAIService.h>
#include <vendor/selkat/hardware/ai/2.1/BpHwAIService.h>

#include "WireKit.h"

namespace {

using namespace android::hardware;
using android::sp;
using android::wp;
using android::hidl::base::V1_0::BpHwBase;
using android::hidl::base::V1_0::IBase;
using orva_test::deadBinder;
namespace V2_0 = vendor::selkat::hardware::ai::V2_0;
namespace V2_1 = vendor::selkat::hardware::ai::V2_1;

struct Listener : V2_0::IAIServiceListener {
    Return<void> OnProcessDone(int32_t, const hidl_string&,
                               const hidl_vec<V2_0::AITensorHandle>&) override {
        return Void();
    }
};

struct Service : V2_1::IAIService {
    Return<int32_t> Init(int32_t clientId, const hidl_string&, const hidl_string&,
                         const hidl_vec<V2_0::ModelBuffer>&) override {
        return clientId;
    }
    Return<int32_t> Process(int32_t, const hidl_string&, const hidl_vec<V2_0::AITensorHandle>&,
                            const hidl_vec<V2_0::AITensorHandle>&, int32_t) override {
        return 0;
    }
    Return<int32_t> SetListener(int32_t, const sp<V2_0::IAIServiceListener>&) override { return 0; }
    Return<void> UnInit(int32_t) override { return Void(); }
};

sp<V2_0::IAIServiceListener> listenerBehind(const sp<IBinder>& binder) {
    return fromBinder<V2_0::IAIServiceListener, V2_0::BpHwAIServiceListener,
                      V2_0::BnHwAIServiceListener>(binder);
}

TEST(HidlBinder, AnObjectHasOneStubWhileThatLives) {
    const sp<Listener> listener = new Listener();
    sp<IBinder> stub = getOrCreateCachedBinder(listener.get());
    ASSERT_NE(nullptr, stub.get());
    EXPECT_EQ(stub, getOrCreateCachedBinder(listener.get()));
    EXPECT_EQ(listener, listenerBehind(stub));

    const wp<IBinder> gone = stub;
    stub = nullptr;
    EXPECT_EQ(nullptr, gone.promote().get());
    EXPECT_NE(nullptr, getOrCreateCachedBinder(listener.get()).get());
}

TEST(HidlBinder, ANewerObjectIsFoundByItsOlderInterface) {
    const sp<Service> service = new Service();
    const sp<V2_0::IAIService> found =
            fromBinder<V2_0::IAIService, V2_0::BpHwAIService, V2_0::BnHwAIService>(
                    toBinder(sp<V2_1::IAIService>(service)));
    ASSERT_NE(nullptr, found.get());
    EXPECT_EQ(17, int32_t(found->Init(17, "", "", {})));
}

TEST(HidlBinder, AnotherInterfacesBinderIsNoListener) {
    const sp<Service> service = new Service();
    EXPECT_EQ(nullptr, listenerBehind(getOrCreateCachedBinder(service.get())).get());
    EXPECT_EQ(nullptr, listenerBehind(nullptr).get());
}

TEST(HidlBinder, ADeadObjectFailsItsCallsAndCasts) {
    const sp<IBase> dead = new BpHwBase(deadBinder());
    EXPECT_TRUE(dead->ping().isDeadObject());
    EXPECT_EQ(nullptr, V2_1::IAIService::castFrom(dead).withDefault(nullptr).get());
    EXPECT_TRUE(V2_1::IAIService::castFrom(dead).isOk());
    EXPECT_TRUE(V2_1::IAIService::castFrom(dead, true).isDeadObject());

    bool called = false;
    EXPECT_FALSE(dead->interfaceChain([&](const auto&) { called = true; }).isOk());
    EXPECT_FALSE(called);
}

TEST(HidlBinder, APassthroughWrapperCallsItsObject) {
    const sp<V2_1::IAIService> service = new Service();
    const sp<V2_1::IAIService> wrapped = details::wrapPassthrough(service);
    ASSERT_NE(nullptr, wrapped.get());
    EXPECT_NE(service, wrapped);
    EXPECT_EQ(17, int32_t(wrapped->Init(17, "", "", {})));
    const sp<IBase> remote = new BpHwBase(deadBinder());
    EXPECT_EQ(remote, details::wrapPassthrough(remote));
}

TEST(HidlBinder, AStatusTravelsWithItsMessageUnlessItIsTheTransports) {
    const Status exception = Status::fromExceptionCode(Status::EX_NULL_POINTER, "kein Zuhörer");
    for (const Status& sent : {Status::ok(), exception}) {
        Parcel parcel;
        EXPECT_EQ(android::OK, writeToParcel(sent, &parcel));
        EXPECT_TRUE(!sent.isOk() || parcel.dataSize() == 4);
        parcel.setDataPosition(0);
        Status read;
        EXPECT_EQ(android::OK, readFromParcel(&read, parcel));
        EXPECT_EQ(sent.description(), read.description());
    }
    Parcel parcel;
    EXPECT_EQ(android::DEAD_OBJECT,
              writeToParcel(Status::fromStatusT(android::DEAD_OBJECT), &parcel));
    EXPECT_EQ(0u, parcel.dataSize());

    // What cannot be read is a transport error, too.
    Status read;
    EXPECT_EQ(android::NOT_ENOUGH_DATA, readFromParcel(&read, parcel));
    EXPECT_EQ(android::NOT_ENOUGH_DATA, read.transactionError());
    parcel.writeInt32(Status::EX_SECURITY);
    parcel.writeInt32(-1);  // The message's length.
    parcel.setDataPosition(0);
    EXPECT_EQ(android::BAD_VALUE, readFromParcel(&read, parcel));
    EXPECT_EQ(android::BAD_VALUE, read.transactionError());
}

}  // namespace
