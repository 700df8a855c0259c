/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// A library that the platform's loader finds by its file's name. It looks the factories up in it
// and in what it needs, which is where they are; the names keep a linker from leaving that out.
extern "C" void* HIDL_FETCH_IAIService(const char* instance);
extern "C" void* HIDL_FETCH_IModelManagerService(const char* instance);

namespace {

using Factory = void* (*)(const char* instance);
[[gnu::used]] const Factory kFactories[] = {HIDL_FETCH_IAIService, HIDL_FETCH_IModelManagerService};

}  // namespace
