/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "inference/LongModel.h"

#include <vector>

#include "tests/framework/OnnxWriter.h"

namespace orva_bench {

namespace {

using namespace orva::test::onnx;

// So that nothing grows or vanishes.
std::string Mean(const std::string& name, int64_t rows, int64_t columns) {
    const std::vector<float> mean(static_cast<size_t>(rows * columns),
                                  1.0F / static_cast<float>(rows));
    return Initializer(Tensor(name, {rows, columns}, Raw(mean)));
}

// From v0 to v`count`.
std::string Products(size_t count) {
    std::string nodes;
    for (size_t i = 0; i < count; ++i) {
        nodes += Node("MatMul", {"v" + std::to_string(i), "mean"}, {"v" + std::to_string(i + 1)});
    }
    return nodes;
}

}  // namespace

std::string longModel(size_t products) {
    constexpr int64_t kSide = 1024;
    const Dims square = {kSide, kSide};
    return Model(Input("v0", square) + Mean("mean", kSide, kSide) + Products(products) +
                 Output("v" + std::to_string(products), square));
}

std::string longerModel() {
    constexpr int64_t kSide = 128;
    constexpr size_t kProducts = 40;
    std::string graph = Input("v0", {1, 3, kSide, kSide}) + Mean("mean", kSide, kSide) +
                        Products(kProducts) +
                        Node("ReduceMax", {"v" + std::to_string(kProducts)}, {"last"},
                             Text(5, Text(1, "axes") + Number(20, 7) + Number(8, 1)) +
                                     Text(5, Text(1, "keepdims") + Number(20, 2) + Number(3, 0)));
    for (const int64_t rows : {512, 384}) {
        const std::string some = std::to_string(rows);
        graph += Mean("mean" + some, rows, kSide) + Node("MatMul", {"mean" + some, "last"}, {some});
        for (const int64_t columns : {1, 16}) {
            const std::string name = some + "x" + std::to_string(columns);
            graph += Mean("mean" + name, kSide, columns) +
                     Node("MatMul", {some, "mean" + name}, {name}) +
                     Output(name, {1, rows, columns});
        }
    }
    return Model(graph);
}

}  // namespace orva_bench
