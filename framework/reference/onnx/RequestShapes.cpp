/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 */
#include "onnx/RequestShapes.h"

#include <algorithm>
#include <charconv>

#include "onnx/ElementType.h"
#include "onnx/Refuse.h"
#include "onnx/TensorCheck.h"

namespace orva::reference {

namespace {

using Names = std::map<std::string, int64_t>;

[[noreturn]] void RefuseParameter(const std::string& name, const std::string& kind,
                                  const std::string& value) {
    Refuse("parameter " + name + " is no " + kind + ": " + value);
}

// "1x3x480x640"; "scalar" has no dimensions. Empty when it is neither.
bool ParseDims(const std::string& text, Dims& dims) {
    dims.clear();
    if (text == "scalar") {
        return true;
    }
    const char* at = text.data();
    const char* const end = at + text.size();
    while (dims.size() < kMaxRank) {
        int64_t dim = -1;
        const auto [next, error] = std::from_chars(at, end, dim);
        if (error != std::errc() || dim < 0 || dim > kMostBytes) {
            return false;
        }
        dims.push_back(dim);
        if (next == end) {
            return true;
        }
        if (*next != 'x') {
            return false;
        }
        at = next + 1;
    }
    return false;
}

bool StartsWith(const std::string& text, const char* prefix, std::string& rest) {
    const size_t size = std::char_traits<char>::length(prefix);
    if (text.compare(0, size, prefix) != 0) {
        return false;
    }
    rest = text.substr(size);
    return true;
}

std::string DimensionText(const EngineTensor& tensor, size_t i) {
    const std::string& name = tensor.dimNames[i];
    return "dimension " + std::to_string(i) + (name.empty() ? "" : " ('" + name + "')") + " of " +
           tensor.name;
}

// The elements that a buffer has room for, as the model counts them; -1 when its bytes make no
// whole number.
int64_t ElementsIn(const BufferView& buffer) {
    const ElementType* const type = ElementTypeOf(buffer.dataType);
    return type == nullptr || buffer.size % type->size != 0
                   ? -1
                   : static_cast<int64_t>(buffer.size / type->size);
}

size_t CountOpen(const Dims& dims) {
    return static_cast<size_t>(std::count(dims.begin(), dims.end(), -1));
}

// Whether dimensions agree with what the model says and with the elements that there are.
bool Agrees(const Dims& settled, const Dims& dims, int64_t elements) {
    for (size_t i = 0; i < dims.size(); ++i) {
        if (settled[i] < 0 || (dims[i] >= 0 && dims[i] != settled[i])) {
            return false;
        }
    }
    return ElementsOf(settled) == elements;
}

// Settles what is open by the name that the model has for it.
void Fill(const EngineTensor& tensor, const Names& names, Dims& dims) {
    for (size_t i = 0; i < tensor.dims.size(); ++i) {
        const auto named = names.find(tensor.dimNames[i]);
        if (dims[i] < 0 && named != names.end() && !named->first.empty()) {
            dims[i] = named->second;
        }
    }
}

class Settling {
public:
    Settling(const EngineTensor& tensor, const BufferView& buffer)
            : tensor_(tensor),
              record_(buffer.shape),
              elements_(ElementsIn(buffer)),
              bytes_(buffer.size),
              dims(tensor.dims) {}

    void Choose(const ShapeChoices& choices) {
        const auto chosen = choices.shapes.find(tensor_.name);
        if (chosen == choices.shapes.end()) {
            return;
        }
        const Dims& wanted = chosen->second;
        if (tensor_.hasShape &&
            (wanted.size() != dims.size() || !Agrees(wanted, dims, ElementsOf(wanted)))) {
            Refuse("the shape " + TextOf(wanted) + " for input " + tensor_.name + ", which is " +
                   TextOf(tensor_.dims, tensor_.dimNames));
        }
        dims = wanted;
        settled_ = true;
    }

    void TakeNames(const Names& names) { Fill(tensor_, names, dims); }

    void GiveNames(Names& names) const {
        for (size_t i = 0; i < tensor_.dims.size(); ++i) {
            const std::string& name = tensor_.dimNames[i];
            if (dims[i] >= 0 && !name.empty() &&
                names.emplace(name, dims[i]).first->second != dims[i]) {
                Refuse(DimensionText(tensor_, i) + " is " + std::to_string(dims[i]) + " here and " +
                       std::to_string(names[name]) + " elsewhere");
            }
        }
    }

    void Derive() {
        if (CountOpen(dims) != 1) {
            return;
        }
        int64_t others = 1;
        for (const int64_t dim : dims) {
            others = dim < 0 ? others : others * dim;
            if (others == 0 || others > kMostBytes) {
                return;
            }
        }
        if (elements_ >= 0 && elements_ % others == 0) {
            *std::find(dims.begin(), dims.end(), -1) = elements_ / others;
        }
    }

    // The record's fields are named after a batch of pictures, with the channels first or last.
    void ReadRecord() {
        const size_t rank = dims.size();
        if (CountOpen(dims) == 0 || rank > record_.size()) {
            return;
        }
        const auto [number, channel, height, width] = record_;
        const Dims first = {number, channel, height, width};
        const Dims last = {number, height, width, channel};
        // What the tensor has no place for must be 1.
        const bool isWhole = std::all_of(first.begin() + static_cast<ptrdiff_t>(rank), first.end(),
                                         [](int64_t dim) { return dim == 1; });
        const Dims candidate(first.begin(), first.begin() + static_cast<ptrdiff_t>(rank));
        const bool fits = isWhole && Agrees(candidate, dims, elements_);
        const bool lastFits = rank == 4 && Agrees(last, dims, elements_);
        if (fits && (!lastFits || first == last)) {
            dims = candidate;
        } else if (lastFits && !fits) {
            dims = last;
        }
    }

    void RequireWhole() const {
        if (!tensor_.hasShape && !settled_) {
            Refuse("the model does not say how many dimensions input " + tensor_.name + " has");
        }
        for (size_t i = 0; i < dims.size(); ++i) {
            if (dims[i] < 0) {
                Refuse(DimensionText(tensor_, i) + " is open, and nothing settles it");
            }
        }
        // There is no region of no bytes for a tensor without elements.
        if (ElementsOf(dims) != elements_ && ElementsOf(dims) != 0) {
            Refuse("input " + tensor_.name + " is " + TextOf(dims) + ", its buffer has " +
                   std::to_string(bytes_) + " bytes");
        }
    }

private:
    const EngineTensor& tensor_;
    const std::array<int, 4>& record_;
    const int64_t elements_;
    const size_t bytes_;
    bool settled_ = false;

public:
    Dims dims;
};

}  // namespace

void ShapeChoices::Add(const std::map<std::string, std::string>& parameters) {
    std::string name;
    Dims dims;
    for (const auto& [parameter, value] : parameters) {
        const bool isShape = StartsWith(parameter, "shape:", name);
        if (!isShape && !StartsWith(parameter, "dimension:", name)) {
            continue;
        }
        if (!ParseDims(value, dims) || (!isShape && dims.size() != 1)) {
            RefuseParameter(parameter, isShape ? "shape" : "size", value);
        }
        if (isShape) {
            shapes[name] = dims;
        } else {
            dimensions[name] = dims[0];
        }
    }
}

RequestShapes SettleShapes(const std::vector<EngineTensor>& inputs,
                           const std::vector<EngineTensor>& outputs,
                           const std::vector<BufferView>& buffers, const ShapeChoices& choices) {
    std::vector<Settling> settlings;
    settlings.reserve(inputs.size());
    Names names = choices.dimensions;
    for (size_t i = 0; i < inputs.size(); ++i) {
        Settling& settling = settlings.emplace_back(inputs[i], buffers[i]);
        settling.Choose(choices);
        settling.GiveNames(names);
    }
    // What one input settles can settle another, so that the surest goes first for all.
    for (const auto step : {&Settling::Derive, &Settling::ReadRecord, &Settling::Derive}) {
        for (Settling& settling : settlings) {
            settling.TakeNames(names);
            (settling.*step)();
            settling.GiveNames(names);
        }
    }
    RequestShapes shapes;
    for (Settling& settling : settlings) {
        settling.TakeNames(names);
        settling.RequireWhole();
        shapes.inputs.push_back(std::move(settling.dims));
    }
    for (const EngineTensor& output : outputs) {
        Fill(output, names, shapes.outputs.emplace_back(output.dims));
    }
    return shapes;
}

}  // namespace orva::reference
