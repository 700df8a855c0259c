/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#pragma once

#include <ion/ion.h>
#include <orva/AITensorDescription.h>

#include <string>

#include "support/LogCapture.h"
#include "support/Region.h"
#include "support/ResourceTest.h"
#include "support/Seam.h"

namespace orva::hidl {

using android::hardware::hidl_memory;
using test::Call;
using test::Fault;
using test::Region;

inline AITensorDescription OfSize(const std::string& size) {
    AITensorDescription description;
    description.add_para("size", size);
    return description;
}

// Notes the platform's calls among the log's lines.
class TensorTest : public test::ResourceTest {
protected:
    static void SetUpTestSuite() {
        ion_close(ion_open());  // libion says once what it makes of this host
    }

    // Both since the last look at either.
    std::string Story(const char* tag = "AINeuralNetworkBufferHIDL") { return log_.Story(tag); }

private:
    test::LogCapture log_;
    test::CallTrace trace_;
};

}  // namespace orva::hidl
