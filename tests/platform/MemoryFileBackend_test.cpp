/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

// Compiled with the backend itself, whose kernel the test chooses.
#include <gtest/gtest.h>

#include <cerrno>
#include <utility>

#include "platform/ion/src/Backend.h"
#include "support/ResourceTest.h"
#include "support/Seam.h"

namespace {

using orva::test::Call;
using orva::test::Fault;
using orva::test::Kernel;
using orva_platform::ion::MemoryFileBackend;
using orva_platform::ion::unique_fd;

using MemoryFileBackendTest = orva::test::ResourceTest;

TEST_F(MemoryFileBackendTest, HasNoBuffersWhereTheyWouldBeSynchronised) {
    const MemoryFileBackend backend;
    for (const auto& [release, result] :
         {std::pair{"4.14.116", -ENODEV}, {"4.14.98", 0}, {"4.9.148", 0}, {"6.1.0", 0}}) {
        const Kernel kernel(release);
        unique_fd buffer;
        EXPECT_EQ(backend.allocate(-1, 4096, &buffer), result) << release;
        EXPECT_EQ(buffer.get() >= 0, result == 0) << release;
    }
    const Fault fault(Call::Uname);
    unique_fd buffer;
    EXPECT_EQ(backend.allocate(-1, 4096, &buffer), 0) << "as on any other kernel";
}

}  // namespace
