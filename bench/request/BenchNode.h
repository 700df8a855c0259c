/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

namespace orva_bench {

// Node types that accept any request and complete it without a look at its tensors. The first runs
// its requests on the framework's threads, as the framework's own nodes do; the second on the
// thread that calls Process.
constexpr char kPooledNode[] = "bench";
constexpr char kInlineNode[] = "bench-inline";

// Adds both to the framework of this process.
void registerBenchNodes();

}  // namespace orva_bench
