/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
// Models as a stranger might damage them: loaded and, if they can be, run. ORVA_MUTATIONS says how
// many, where more than usual are wanted.
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>

#include <gtest/gtest.h>
#include <orva/reference/NodeStatus.h>

#include "CaseModel.h"
#include "Support.h"
#include "executor/Work.h"
#include "onnx/ElementType.h"
#include "onnx/OnnxRunner.h"
#include "support/Descriptors.h"

namespace orva::reference {
namespace {

using File = std::vector<uint8_t>;

// A case of each operator, more or less, small enough to be changed much by a byte.
std::vector<File> Originals() {
    std::vector<File> files;
    for (const auto& entry : std::filesystem::directory_iterator(test::kOnnxCases)) {
        File file = test::CaseModel(entry.path().filename());
        if (file.size() < 4096) {
            files.push_back(std::move(file));
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

File Mutated(File file, const File& other, std::mt19937& random) {
    const auto below = [&](size_t bound) { return random() % bound; };
    for (size_t changes = 1 + below(4); changes > 0 && !file.empty(); --changes) {
        const size_t at = below(file.size());
        switch (below(5)) {
        case 0:
            file[at] = static_cast<uint8_t>(random());
            break;
        case 1:
            file[at] ^= static_cast<uint8_t>(1U << below(8));
            break;
        case 2:
            file.erase(file.begin() + static_cast<ptrdiff_t>(at));
            break;
        case 3:
            file.insert(file.begin() + static_cast<ptrdiff_t>(at), static_cast<uint8_t>(random()));
            break;
        default:
            const size_t from = below(other.size());
            const size_t size = std::min({other.size() - from, file.size() - at, below(32)});
            std::copy_n(other.begin() + static_cast<ptrdiff_t>(from), size,
                        file.begin() + static_cast<ptrdiff_t>(at));
        }
    }
    return file;
}

// Zeros for every tensor whose size is known and small; empty when one's is not.
test::Tensors ZerosFor(const std::vector<EngineTensor>& tensors) {
    test::Tensors zeros;
    for (const EngineTensor& tensor : tensors) {
        const int64_t elements = std::max<int64_t>(ElementsOf(tensor.dims), 1);
        if (elements > 1 << 16) {
            return {};
        }
        zeros.push_back(std::make_shared<test::TestTensor>(
                tensor.dataType,
                File(static_cast<size_t>(elements) * ElementTypeOf(tensor.dataType)->size)));
    }
    return zeros;
}

struct Counts {
    size_t loaded = 0;
    size_t ran = 0;
    size_t atFault = 0;
};

void Try(const File& file, const std::shared_ptr<EngineMemory>& memory, Counts& counts) {
    try {
        Work work(Client::Of(0), std::chrono::seconds(5));
        const OnnxRunner runner({file.data(), file.size()}, {}, work.cancellation(), memory);
        ++counts.loaded;
        Request request{
                {}, ZerosFor(runner.engine().inputs()), ZerosFor(runner.engine().outputs()), 0};
        if (runner.Check(request) == kNodeOk) {
            runner.Run(request, work.cancellation());
            ++counts.ran;
        }
    } catch (const std::exception& error) {
        counts.atFault += std::strstr(error.what(), "at fault") != nullptr ? 1 : 0;
    }
}

TEST(Mutations, LeaveNothingBehind) {
    const char* const wanted = std::getenv("ORVA_MUTATIONS");
    const size_t count = wanted != nullptr ? std::strtoul(wanted, nullptr, 10) : 1000;
    const char* const seed = std::getenv("ORVA_SEED");
    std::mt19937 random(seed != nullptr ? std::strtoul(seed, nullptr, 10) : 1);
    const std::vector<File> originals = Originals();
    ASSERT_GT(originals.size(), 500U);
    const auto fresh = [] {
        return std::make_shared<EngineMemory>(size_t{1} << 28, Client::Of(0));
    };
    auto memory = fresh();
    Counts counts;
    Try(originals[0], memory, counts);  // What the process opens for good, it opens now.
    const auto descriptors = orva_test::openDescriptors();
    for (size_t i = 0; i < count; ++i) {
        const File& original = originals[random() % originals.size()];
        const File& other = originals[random() % originals.size()];
        const size_t atFault = counts.atFault;
        Try(Mutated(original, other, random), memory, counts);
        if (counts.atFault != atFault) {
            memory = fresh();  // What the engine dropped, it keeps.
        }
        ASSERT_EQ(0U, memory->taken()) << i;
    }
    EXPECT_EQ(descriptors, orva_test::openDescriptors());
    EXPECT_GT(counts.ran, count / 100) << "of " << counts.loaded << " that were loaded";
    RecordProperty("engine_at_fault", static_cast<int>(counts.atFault));
}

}  // namespace
}  // namespace orva::reference
