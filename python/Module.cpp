/*
 * Copyright (C) 2026 The orva project
 * SPDX-License-Identifier: Apache-2.0
 *
 * What the package's Python half stands on; see orva/__init__.py for what people use.
 */
#include <memory>
#include <string>
#include <vector>

#include <orva_platform/Runtime.h>
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include "Aside.h"
#include "ClientSession.h"
#include "client/lib/ServiceError.h"

namespace py = pybind11;

namespace {

using orva::client::ElementType;
using orva::client::ServiceError;
using orva::client::Tensor;
using orva::client::TensorShape;
using orva::python::ClientSession;
using orva::python::Tensors;

// An array of the tensor's own memory, which it keeps alive.
py::array arrayOf(const std::shared_ptr<Tensor>& tensor, const py::dtype& dtype,
                  const std::vector<py::ssize_t>& shape) {
    py::ssize_t bytes = dtype.itemsize();
    for (const py::ssize_t dim : shape) {
        bytes *= dim;
    }
    if (static_cast<size_t>(bytes) > tensor->size()) {
        throw py::value_error("the tensor is smaller than that");
    }
    return py::array(dtype, shape, {}, tensor->data(), py::cast(tensor));
}

std::shared_ptr<Tensor> makeTensor(int32_t code, const std::vector<int64_t>& shape, size_t bytes) {
    const TensorShape described = {"", static_cast<ElementType>(code), shape};
    return std::make_shared<Tensor>(described.attributes(), bytes);
}

// Dimensions that the model leaves open are their names, or None.
py::list describe(const std::vector<TensorShape>& tensors) {
    py::list list;
    for (const TensorShape& tensor : tensors) {
        py::list dims;
        for (size_t i = 0; i < tensor.dims.size(); ++i) {
            if (tensor.dims[i] >= 0) {
                dims.append(tensor.dims[i]);
            } else if (i < tensor.dimNames.size() && !tensor.dimNames[i].empty()) {
                dims.append(tensor.dimNames[i]);
            } else {
                dims.append(py::none());
            }
        }
        list.append(
                py::make_tuple(tensor.name, static_cast<int32_t>(tensor.type), py::tuple(dims)));
    }
    return list;
}

// Ctrl-C, or whatever else a signal has had Python do; and the end of patience.
std::function<void()> lookout(double patience) {
    const auto begin = std::chrono::steady_clock::now();
    return [patience, begin] {
        const py::gil_scoped_acquire locked;
        if (PyErr_CheckSignals() != 0) {
            throw py::error_already_set();
        }
        const std::chrono::duration<double> waited = std::chrono::steady_clock::now() - begin;
        if (patience > 0 && waited.count() > patience) {
            PyErr_SetString(PyExc_TimeoutError,
                            "the service took longer than the session's timeout");
            throw py::error_already_set();
        }
    };
}

// What closes a session need not keep Python's other threads from running.
struct Unlocked {
    void operator()(ClientSession* session) const {
        const py::gil_scoped_release unlocked;
        delete session;
    }
};

}  // namespace

PYBIND11_MODULE(_client, module) {
    // Kept for the process's lifetime, as modules' contents are.
    static PyObject* const failure =
            PyErr_NewException("orva.ServiceError", PyExc_RuntimeError, nullptr);
    module.add_object("ServiceError", failure);
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            std::rethrow_exception(thrown);
        } catch (const ServiceError& error) {
            py::object object = py::handle(failure)(error.what());
            object.attr("status") = error.status();
            PyErr_SetObject(failure, object.ptr());
        }
    });

    py::class_<Tensor, std::shared_ptr<Tensor>>(module, "Tensor")
            .def(py::init(&makeTensor))
            .def("array", &arrayOf)
            .def_property_readonly(
                    "address",
                    [](const Tensor& t) { return reinterpret_cast<uintptr_t>(t.data()); })
            .def_property_readonly("size", &Tensor::size);

    const py::call_guard<py::gil_scoped_release> unlocked;
    py::class_<ClientSession, std::unique_ptr<ClientSession, Unlocked>>(module, "ClientSession")
            .def(py::init([](const std::string& model, const std::string& node,
                             const std::string& config, const std::string& instance,
                             double patience) {
                     return std::unique_ptr<ClientSession, Unlocked>(
                             new ClientSession(model, node, config, instance, lookout(patience)));
                 }),
                 unlocked)
            .def(
                    "run",
                    [](ClientSession& session, const std::string& context, const Tensors& inputs,
                       const Tensors& outputs, double patience) {
                        return session.run(context, inputs, outputs, patience > 0,
                                           lookout(patience));
                    },
                    unlocked)
            .def(
                    "close",
                    [](ClientSession& session, double patience) {
                        session.close(lookout(patience));
                    },
                    unlocked)
            .def_property_readonly("inputs",
                                   [](const ClientSession& s) { return describe(s.inputs()); })
            .def_property_readonly("outputs",
                                   [](const ClientSession& s) { return describe(s.outputs()); });

    module.def(
            "stop",
            [] {
                orva_platform::stop();
                orva::python::joinCallsAside();
            },
            unlocked);
}
