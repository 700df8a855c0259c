/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */

#include "transport/TensorParameters.h"

#include <sstream>

namespace orva::hidl {

namespace {

template <typename Number>
bool ParseNumber(const std::string& text, Number& out) {
    std::istringstream stream(text);
    stream >> out;
    // Exactly the end: anything behind the number would have left the end unseen.
    return stream.rdstate() == std::ios_base::eofbit;
}

}  // namespace

bool ParseValue(const std::string& text, int& out) {
    return ParseNumber(text, out);
}

bool ParseValue(const std::string& text, unsigned int& out) {
    return ParseNumber(text, out);
}

bool InitFromDescription(AINeuralNetworkBuffer& tensor, const AITensorDescription& description) {
    int dataType = tensor.GetData_type();
    int number = tensor.GetNumber();
    int channel = tensor.GetChannel();
    int height = tensor.GetHeight();
    int width = tensor.GetWidth();
    auto size = static_cast<unsigned int>(tensor.GetSize());

    for (const AITensorParaDescription& para : description.paras()) {
        const std::string& name = para.name();
        const std::string& value = para.value();
        bool parsed = true;
        if (name == "size") {
            parsed = ParseValue(value, size);
        } else if (name == "data_type") {
            parsed = ParseValue(value, dataType);
        } else if (name == "number") {
            parsed = ParseValue(value, number);
        } else if (name == "channel") {
            parsed = ParseValue(value, channel);
        } else if (name == "height") {
            parsed = ParseValue(value, height);
        } else if (name == "width") {
            parsed = ParseValue(value, width);
        }
        if (!parsed) {
            return false;
        }
    }

    tensor.SetData_type(dataType);
    tensor.SetWidth(width);
    tensor.SetHeight(height);
    tensor.SetChannel(channel);
    tensor.SetNumber(number);
    tensor.SetBuffer(tensor.GetBuffer(), static_cast<int>(size), false);
    return true;
}

}  // namespace orva::hidl
