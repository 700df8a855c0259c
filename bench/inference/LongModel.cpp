/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "inference/LongModel.h"

#include <vector>

#include "tests/framework/OnnxWriter.h"

namespace orva_bench {

std::string longModel(size_t products) {
    using namespace orva::test::onnx;
    constexpr int64_t kSide = 1024;
    const Dims square = {kSide, kSide};
    // Rows of the mean, so that nothing grows or vanishes.
    const std::vector<float> mean(kSide * kSide, 1.0F / kSide);
    std::string graph = Input("v0", square) + Initializer(Tensor("mean", square, Raw(mean)));
    for (size_t i = 0; i < products; ++i) {
        graph += Node("MatMul", {"v" + std::to_string(i), "mean"}, {"v" + std::to_string(i + 1)});
    }
    return Model(graph + Output("v" + std::to_string(products), square));
}

}  // namespace orva_bench
