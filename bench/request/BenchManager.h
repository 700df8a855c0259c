/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

namespace orva_bench {

// Has the framework of this process make model managers that take anything, complete it on the
// framework's threads without a look at the tensors, and build nothing of any sources.
void useBenchManagers();

}  // namespace orva_bench
