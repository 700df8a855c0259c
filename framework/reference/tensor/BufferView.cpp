/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include <orva/reference/BufferView.h>

#include <algorithm>
#include <cstring>

#include <orva/AINeuralNetworkBuffer.h>

namespace orva::reference {

bool ViewBuffer(const std::shared_ptr<IAITensor>& tensor, BufferView& view) {
    if (tensor == nullptr) {
        return false;
    }
    // The tensors' classes come from libraries without run-time type information; their type name
    // says what they are.
    const char* type = tensor->GetTypeName();
    if (type == nullptr || (std::strcmp(type, "AINeuralNetworkBuffer") != 0 &&
                            std::strcmp(type, "AINeuralNetworkIonBuffer") != 0)) {
        return false;
    }
    auto& buffer = static_cast<AINeuralNetworkBuffer&>(*tensor);
    if (buffer.GetBuffer() == nullptr || buffer.GetSize() < 0) {
        return false;
    }
    view.data = static_cast<uint8_t*>(buffer.GetBuffer());
    view.size = static_cast<size_t>(buffer.GetSize());
    view.dataType = buffer.GetData_type();
    view.shape = {buffer.GetNumber(), buffer.GetChannel(), buffer.GetHeight(), buffer.GetWidth()};
    return true;
}

void SetShape(IAITensor& tensor, const std::vector<int64_t>& dims) {
    std::array<int, 4> shape = {1, 1, 1, 1};
    for (size_t i = 0; i < dims.size(); ++i) {
        shape[std::min<size_t>(i, 3)] *= static_cast<int>(dims[i]);
    }
    auto& buffer = static_cast<AINeuralNetworkBuffer&>(tensor);
    buffer.SetNumber(shape[0]);
    buffer.SetChannel(shape[1]);
    buffer.SetHeight(shape[2]);
    buffer.SetWidth(shape[3]);
}

}  // namespace orva::reference
