# Copyright (C) 2026 The orva project
# SPDX-License-Identifier: Apache-2.0
"""Runs models and nodes on the orva AI services.

    import numpy, orva

    session = orva.Session("model.onnx")
    scores = session.run(numpy.zeros((1, 3, 224, 224), numpy.float32))

A host must be running: `orva-host &`. Host and clients meet in the folder $ORVA_SERVICE_DIR, or else
$XDG_RUNTIME_DIR/orva, or else /tmp/orva-UID.

Arrays travel in memory that the host maps, never as bytes in a call. What `run` returns lies in such
memory, and so does what `empty` makes; it is not copied. An array that lies elsewhere is copied into
such memory once, since the host has no way to the rest of this process.
"""
import atexit
import collections
import json
import os
import threading
import weakref

import numpy

from . import _client
from ._client import ServiceError

__all__ = ["ServiceError", "Session", "TensorInfo", "empty"]

ServiceError.__doc__ = """The service refused or failed; the text says what was asked and why.

`status` is what the service answered, or -1 when it could not be reached or died."""
ServiceError.status = -1
ServiceError.reason = property(str, doc="The same as the text.")

# The numbers by which element types travel. A bfloat16 has no dtype of NumPy's: its bits do.
_CODES = {numpy.dtype(name): code for name, code in (
    ("uint8", 0), ("float32", 1), ("int8", 2), ("int16", 3), ("int32", 4), ("int64", 5),
    ("uint16", 6), ("uint32", 7), ("uint64", 8), ("float16", 9), ("float64", 11), ("bool", 12))}
_BFLOAT16 = 10
_DTYPES = {code: dtype for dtype, code in _CODES.items()}
_DTYPES[_BFLOAT16] = numpy.dtype("uint16")
_BYTE = numpy.dtype("uint8")
_FLOAT = numpy.dtype("float32")

TensorInfo = collections.namedtuple("TensorInfo", "name dtype shape")
TensorInfo.__doc__ = """An input or output as the model has it.

A dimension that the model leaves open is its name in `shape`, or None where it has no name."""


def empty(shape, dtype=numpy.float32):
    """An array of zeros that `Session.run` need not copy, neither as an input nor as an output."""
    shape = (shape,) if isinstance(shape, int) else tuple(shape)
    return _make(_code_of(numpy.dtype(dtype)), numpy.dtype(dtype), shape)


class Session:
    """An open session on a service node; closed by `close`, by `with`, or with the object.

    model     an ONNX file, or None for a node that takes no model
    node      the node's type; "onnx" unless given
    config    parameters for the node, a dict: {"scale": 1 / 255}
    instance  of the service
    timeout   seconds that opening it, each request and closing it may take, None for ever; it is
              closed when they are over

    May be used by any thread; it runs one request at a time, so threads that are to be served at
    once need a session each. In a process that forks, open sessions in the child alone.
    """

    def __init__(self, model=None, *, node=None, config=None, instance="default", timeout=None):
        if model is None and node is None:
            raise TypeError("a session needs a model or a node")
        path = "" if model is None else os.fspath(model)
        self._timeout = timeout or 0
        self._lock = threading.Lock()
        self._staging = {}
        self._client = _client.ClientSession(path, node or "onnx", _text_of(config), instance,
                                            self._timeout)
        self._has_model = model is not None
        _sessions.add(self)

    @property
    def inputs(self):
        """What the model takes; empty for a node without one."""
        return _infos(self._client.inputs)

    @property
    def outputs(self):
        """What the model gives; empty for a node without one."""
        return _infos(self._client.outputs)

    def run(self, *inputs, out=None, context=None):
        """Runs one request, and answers the output, or a list of them if there are several.

        inputs   an array each, in the model's order, or one dict of them by name. A float input
                 also takes uint8, of which the service makes floats by "scale" and "bias".
        out      an array, or a list of them, to write the outputs into; made by `empty` they are
                 not copied. Needed where neither the model nor the inputs say how large they are:
                 without a model, outputs are taken to be as the inputs. Where an output turns out
                 smaller, the answer is that part of the array, in the output's shape.
        context  parameters for this request, a dict

        Raises ServiceError, and TimeoutError after the session's timeout.
        """
        given = self._in_order(inputs)
        if out is not None:
            out = [out] if isinstance(out, numpy.ndarray) else list(out)
        with self._lock:
            tensors = [self._input(i, array) for i, array in enumerate(given)]
            results = [_ready(i, array) for i, array in enumerate(out or self._results(given))]
            said = self._client.run(_text_of({**self._shapes_of(given), **(context or {})}), tensors,
                                    [_tensor_of(array) for array in results], self._timeout)
        for i, result in enumerate(results):
            if out is not None and out[i] is not result:
                numpy.copyto(out[i], result)
                results[i] = out[i]
        results = self._as_made(results, said)
        return results[0] if len(results) == 1 else results

    def close(self):
        """Ends the session, once a request under way is done. Safe to call again.

        When the service takes longer than the timeout, nobody waits for it any more."""
        try:
            self._client.close(self._timeout)
        except TimeoutError:
            pass

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _in_order(self, inputs):
        if len(inputs) == 1 and isinstance(inputs[0], dict):
            names = [info.name for info in self.inputs]
            if set(names) != set(inputs[0]):
                raise TypeError(f"the model's inputs are {names}, not {sorted(inputs[0])}")
            inputs = [inputs[0][name] for name in names]
        if self._has_model and len(inputs) != len(self._client.inputs):
            raise TypeError(f"the model has {len(self._client.inputs)} inputs, {len(inputs)} are given")
        return [numpy.asarray(array) for array in inputs]

    # The tensor that an input travels in: its own, or one that is kept and written to each time.
    def _input(self, index, array):
        code = _code_of(array.dtype)
        if self._has_model:
            name, wanted, _ = self._client.inputs[index]
            dtype = _DTYPES[wanted]
            if array.dtype == dtype:
                code = wanted
            elif not (array.dtype == _BYTE and dtype == _FLOAT):
                raise TypeError(f"the input '{name}' is {dtype}, not {array.dtype}")
        tensor = _tensor_of(array)
        if tensor is not None:
            return tensor
        key = (code, array.shape)
        kept = self._staging.get(index)
        if kept is None or kept[0] != key:
            kept = self._staging[index] = key, _make(code, array.dtype, array.shape)
        numpy.copyto(kept[1], array)
        return _tensor_of(kept[1])

    def _results(self, given):
        if not self._has_model:
            return [_make(_code_of(array.dtype), array.dtype, array.shape) for array in given]
        sizes = {dim: size for (_, _, shape), array in zip(self._client.inputs, given)
                 for dim, size in zip(shape, array.shape)}
        results = []
        for name, code, shape in self._client.outputs:
            dims = [dim if isinstance(dim, int) else sizes.get(dim) if dim else None for dim in shape]
            if None in dims:
                raise ValueError(f"the model leaves the shape of its output '{name}' open, "
                                 f"{shape}: out says how much room it gets")
            results.append(_make(code, _DTYPES[code], dims))
        return results

    # The parameters that settle what the model leaves open of its inputs.
    def _shapes_of(self, given):
        return {f"shape:{name}": "x".join(map(str, array.shape))
                for (name, _, shape), array in zip(self._client.inputs, given) if _is_open(shape)}

    # Outputs of which the model leaves something open may have become smaller than their arrays.
    def _as_made(self, results, said):
        names = [name for name, _, shape in self._client.outputs if _is_open(shape)]
        shapes = json.loads(said) if names else {}
        for i, (name, _, _) in enumerate(self._client.outputs[:len(results)]):
            text = shapes.get(f"shape:{name}") if name in names else None
            if text is not None:
                made = () if text == "scalar" else tuple(map(int, text.split("x")))
                if made != results[i].shape:
                    results[i] = results[i].reshape(-1)[:_count(made)].reshape(made)
        return results


def _infos(tensors):
    return [TensorInfo(name, _DTYPES[code], shape) for name, code, shape in tensors]


def _is_open(shape):
    return not all(isinstance(dim, int) for dim in shape)


def _count(shape):
    count = 1
    for dim in shape:
        count *= int(dim)
    return count


def _text_of(parameters):
    if not parameters:
        return ""
    return json.dumps({str(name): str(value) for name, value in parameters.items()})


def _code_of(dtype):
    try:
        return _CODES[dtype]
    except KeyError:
        raise TypeError(f"arrays of {dtype} cannot be sent") from None


def _make(code, dtype, shape):
    count = _count(shape)
    if count == 0:
        raise ValueError("an array without elements cannot be sent")
    shape = [int(dim) for dim in shape]
    return _client.Tensor(code, shape, count * dtype.itemsize).array(dtype, shape)


# The tensor whose memory an array is, all of it and as it was made; else None.
def _tensor_of(array):
    owner = array
    while isinstance(owner, numpy.ndarray):
        made, owner = owner, owner.base
    if not isinstance(owner, _client.Tensor):
        return None
    same = (made.dtype == array.dtype and made.shape == array.shape and array.flags.c_contiguous
            and owner.address == array.__array_interface__["data"][0])
    return owner if same else None


# An array to write an output into: the caller's own where that can be sent.
def _ready(index, array):
    if not isinstance(array, numpy.ndarray):
        raise TypeError(f"out[{index}] is no array")
    if not array.flags.writeable:
        raise ValueError(f"out[{index}] cannot be written to")
    return array if _tensor_of(array) is not None else empty(array.shape, array.dtype)


_sessions = weakref.WeakSet()


@atexit.register
def _end():
    for session in list(_sessions):
        session.close()
    _client.stop()
