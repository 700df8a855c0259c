# Copyright (C) 2026 The orva project
# SPDX-License-Identifier: Apache-2.0
"""The Python client, through a real host."""
import gc
import os
import signal
import subprocess
import sys
import tempfile
import threading
import unittest

import numpy

CASES = os.environ["ORVA_ONNX_CASES"]
_folder = tempfile.TemporaryDirectory(prefix="orva-python-")
os.environ["ORVA_SERVICE_DIR"] = _folder.name

import orva  # noqa: E402 (after the folder is said)


def start_host(folder):
    process = subprocess.Popen(
        [os.environ["ORVA_HOST"], "--load", os.environ["STUCK_NODE"], "--socket-dir", folder],
        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
    if "ready" not in process.stdout.readline():
        raise RuntimeError("the host does not come up")
    return process


def setUpModule():
    global host
    host = start_host(_folder.name)


def tearDownModule():
    host.send_signal(signal.SIGTERM)
    host.stdout.close()
    if host.wait(60) != 0:
        raise RuntimeError("the host ended badly")
    _folder.cleanup()


def model(case):
    return os.path.join(CASES, case, "model.onnx")


def held():
    return len(os.listdir("/proc/self/fd"))


class ModelTest(unittest.TestCase):
    def test_one_input_and_one_output(self):
        values = numpy.linspace(-3, 3, 60, dtype=numpy.float32).reshape(3, 4, 5)
        with orva.Session(model("test_relu")) as session:
            self.assertEqual([(i.dtype, i.shape) for i in session.inputs],
                             [(numpy.float32, (3, 4, 5))])
            for _ in range(2):
                result = session.run(values)
                self.assertEqual(result.shape, (3, 4, 5))
                numpy.testing.assert_array_equal(result, numpy.maximum(values, 0))
                values = -values

    def test_several_inputs_in_order_or_by_name(self):
        a = numpy.arange(60, dtype=numpy.float32).reshape(3, 4, 5)
        b = a[::-1] * 2  # not contiguous
        with orva.Session(model("test_sub")) as session:
            x, y = (info.name for info in session.inputs)
            numpy.testing.assert_array_equal(session.run(a, b), a - b)
            numpy.testing.assert_array_equal(session.run({y: b, x: a}), a - b)

    def test_several_outputs(self):
        values = numpy.arange(6, dtype=numpy.float32)
        with orva.Session(model("test_split_equal_parts_1d")) as session:
            parts = session.run(values)
            self.assertEqual(len(parts), 3)
            numpy.testing.assert_array_equal(numpy.concatenate(parts), values)

    def test_models_of_other_types(self):
        ones = numpy.ones
        for case, given, wanted in (
                ("test_cast_DOUBLE_to_FLOAT16", [ones((3, 4), numpy.float64)], numpy.float16),
                ("test_add_uint8", [ones((3, 4, 5), numpy.uint8)] * 2, numpy.uint8),
                ("test_argmax_no_keepdims_random", [ones((2, 3, 4), numpy.float32)], numpy.int64),
                ("test_and2d", [ones((3, 4), bool)] * 2, bool)):
            with self.subTest(case), orva.Session(model(case)) as session:
                result = session.run(*given)
                self.assertEqual((result.dtype, session.outputs[0].dtype), (wanted, wanted))
                self.assertEqual(result.flat[0], {"add": 2, "argmax": 0}.get(case.split("_")[1], 1))

    def test_open_dimensions(self):
        with tempfile.NamedTemporaryFile(suffix=".onnx") as file:
            # [3, 4, 5] of input and output becomes [NN, MM], in as many bytes.
            given = bytes.fromhex("0a0208030a0208040a020805")
            file.write(open(model("test_relu"), "rb").read().replace(
                given, bytes.fromhex("0a0412024e4e0a0412024d4d")))
            file.flush()
            with orva.Session(file.name) as session:
                self.assertEqual(session.inputs[0].shape, ("NN", "MM"))
                for shape in ((2, 6), (3, 4), (1, 1)):
                    result = session.run(numpy.full(shape, 7, numpy.float32))
                    self.assertEqual((result.shape, result.min()), (shape, 7))
                with self.assertRaisesRegex(orva.ServiceError, "status"):
                    session.run(numpy.zeros((2, 3, 4), numpy.float32), out=numpy.zeros((2, 12)))

    def test_outputs_of_any_size(self):
        with tempfile.NamedTemporaryFile(suffix=".onnx") as file:
            # What [2, 3] is of the output is left open.
            file.write(open(model("test_nonzero_example"), "rb").read().replace(
                bytes.fromhex("0a0208020a020803"), bytes.fromhex("0a0212000a021200")))
            file.flush()
            with orva.Session(file.name) as session:
                self.assertEqual(session.outputs[0].shape, (None, None))
                flags = numpy.array([[True, False], [True, True]])
                with self.assertRaisesRegex(ValueError, "out says how much room"):
                    session.run(flags)
                result = session.run(flags, out=orva.empty((2, 4), numpy.int64))
                numpy.testing.assert_array_equal(result, numpy.nonzero(flags))

    def test_bytes_for_floats(self):
        values = numpy.arange(60, dtype=numpy.uint8).reshape(3, 4, 5)
        with orva.Session(model("test_relu"), config={"scale": 0.5, "bias": -10}) as session:
            numpy.testing.assert_array_equal(session.run(values),
                                             numpy.maximum(values * 0.5 - 10, 0))

    def test_misuse_is_told_before_anything_is_sent(self):
        with orva.Session(model("test_sub")) as session:
            good = numpy.zeros((3, 4, 5), numpy.float32)
            for wanted, arguments in (("2 inputs, 1 are given", (good,)),
                                      ("is float32, not float64", (good, good.astype(float))),
                                      ("cannot be sent", (good, good.astype("S3"))),
                                      ("inputs are", ({"nobody": good},))):
                with self.assertRaisesRegex(TypeError, wanted):
                    session.run(*arguments)
        with self.assertRaisesRegex(TypeError, "a model or a node"):
            orva.Session()
        with self.assertRaisesRegex(Exception, "no-such-file.onnx"):
            orva.Session("/no-such-file.onnx")


class NodeTest(unittest.TestCase):
    def test_each_type_comes_back(self):
        names = "uint8 int8 int16 int32 int64 uint16 uint32 uint64 float16 float32 float64 bool"
        with orva.Session(node="echo") as session:
            for name in names.split():
                values = (numpy.arange(24) % 2).astype(name).reshape(2, 3, 4)
                result = session.run(values)
                self.assertEqual(result.dtype, values.dtype)
                numpy.testing.assert_array_equal(result, values)

    def test_shared_arrays_are_not_copied(self):
        given, taken = orva.empty((16, 1024)), orva.empty((16, 1024))
        with orva.Session(node="echo") as session:
            given[:] = 7
            self.assertIs(session.run(given, out=taken), taken)
            self.assertEqual(taken.min(), 7)
            # What is kept for copies of inputs would be there if one had been made.
            self.assertEqual(session._staging, {})
            # Neither is what is seen through a view of all of it, which is the same array.
            given[:] = 8
            session.run(given[:], out=taken)
            self.assertEqual((session._staging, taken.max()), ({}, 8))

    def test_what_is_no_whole_shared_array_is_copied(self):
        whole = orva.empty((4, 6))
        whole[:] = numpy.arange(24).reshape(4, 6)
        views = (whole[1:], whole[:, ::2], whole.T, whole.reshape(24), whole.view(numpy.uint32))
        with orva.Session(node="echo") as session:
            for view in views:
                numpy.testing.assert_array_equal(session.run(view), view)
                mine = numpy.zeros_like(view)
                self.assertIs(session.run(view, out=mine), mine)
                numpy.testing.assert_array_equal(mine, view)
            before = whole.copy()
            session.run(numpy.full((3, 6), 5, numpy.float32), out=whole[1:])
            self.assertTrue((whole[1:] == 5).all())
            numpy.testing.assert_array_equal(whole[0], before[0])

    def test_results_are_the_callers_own(self):
        with orva.Session(node="echo") as session:
            first = session.run(numpy.full(8, 1, numpy.float32))
            second = session.run(numpy.full(8, 2, numpy.float32))
        del session
        gc.collect()
        self.assertEqual((first.max(), second.min()), (1, 2))

    def test_refusals_carry_the_services_status(self):
        with self.assertRaises(orva.ServiceError) as unknown:
            orva.Session(node="nobody")
        self.assertGreater(unknown.exception.status, 0)
        self.assertIn(f"status {unknown.exception.status}", unknown.exception.reason)
        self.assertIn("create AIService type nobody error", unknown.exception.reason)
        with orva.Session(node="echo") as session:
            short = orva.empty(3)
            with self.assertRaises(orva.ServiceError) as misfit:
                session.run(numpy.zeros(4, numpy.float32), out=short)
            self.assertEqual(misfit.exception.status, 103)
            # The session goes on.
            self.assertEqual(session.run(numpy.ones(4, numpy.float32)).sum(), 4)
        with self.assertRaisesRegex(orva.ServiceError, "closed"):
            session.run(numpy.ones(4, numpy.float32))
        with self.assertRaises(orva.ServiceError) as nobody:
            orva.Session(node="echo", instance="elsewhere")
        self.assertEqual(nobody.exception.status, -1)

    def test_sessions_come_and_go(self):
        # Between two of them nothing is held of the host, so each connects anew.
        for value in range(100):
            with self.assertRaises(orva.ServiceError):
                orva.Session(node="nobody")
            with orva.Session(node="echo") as session:
                self.assertEqual(session.run(numpy.full(4, value, numpy.float32)).max(), value)
            del session

    def test_threads_share_a_session(self):
        wrong = []

        def work(session, value):
            for _ in range(50):
                result = session.run(numpy.full(64, value, numpy.float32))
                if not (result == value).all():
                    wrong.append(value)

        with orva.Session(node="echo") as session:
            threads = [threading.Thread(target=work, args=(session, i)) for i in range(4)]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
        self.assertEqual(wrong, [])

    def test_nothing_is_left_behind(self):
        def use():
            with orva.Session(node="echo") as session:
                for _ in range(20):
                    session.run(numpy.zeros(4096, numpy.float32))
            gc.collect()

        use()
        before = held()
        for _ in range(10):
            use()
        # The runtime has a few channels more or less at times; what leaks does so each time.
        self.assertLess(held(), before + 10)

    def test_whoever_waits_can_stop_waiting(self):
        ones = numpy.ones(4, numpy.float32)
        session = orva.Session(node="stuck", timeout=60)
        session._timeout = 0.05
        with self.assertRaises(TimeoutError):
            session.run(ones)
        # Its result might be taken for the next request's.
        with self.assertRaisesRegex(orva.ServiceError, "closed"):
            session.run(ones)

        def interrupt(*_):
            raise KeyboardInterrupt

        before = signal.signal(signal.SIGALRM, interrupt)
        try:
            with orva.Session(node="stuck") as session, self.assertRaises(KeyboardInterrupt):
                signal.setitimer(signal.ITIMER_REAL, 0.05)
                session.run(ones)
        finally:
            signal.signal(signal.SIGALRM, before)

    def test_a_host_that_stands_still_keeps_nobody(self):
        script = ("import glob, numpy, orva, os, signal\n"
                  "session = orva.Session(node='echo', timeout=60)\n"
                  "session.run(numpy.ones(4))\n"
                  "session._timeout = 0.05\n"
                  "os.kill(int(os.environ['HOST']), signal.SIGSTOP)\n"
                  "threads = glob.glob(f\"/proc/{os.environ['HOST']}/task/*/stat\")\n"
                  "while any(open(t).read().split(') ')[1][0] != 'T' for t in threads):\n"
                  "    pass\n"
                  "for wait in (lambda: session.run(numpy.ones(4)),\n"
                  "             lambda: orva.Session(node='echo', timeout=0.05)):\n"
                  "    try:\n"
                  "        wait()\n"
                  "    except TimeoutError:\n"
                  "        print('told')\n")
        other = tempfile.TemporaryDirectory(prefix="orva-python-")
        with other, start_host(other.name) as mine:
            try:
                client = subprocess.run(
                    [sys.executable, "-c", script], capture_output=True, text=True, timeout=60,
                    env={**os.environ, "ORVA_SERVICE_DIR": other.name, "HOST": str(mine.pid)})
            finally:
                mine.kill()
            self.assertEqual((client.stdout, client.returncode), ("told\ntold\n", 0))
            self.assertNotIn("Traceback", client.stderr)

    def test_the_services_end_is_told(self):
        other = tempfile.TemporaryDirectory(prefix="orva-python-")
        script = ("import numpy, orva, sys\n"
                  "session = orva.Session(node='stuck')\n"
                  "print('open', flush=True)\n"
                  "try:\n"
                  "    session.run(numpy.ones(4))\n"
                  "except orva.ServiceError as error:\n"
                  "    print(error.status, error)\n")
        with other, start_host(other.name) as mine, subprocess.Popen(
                [sys.executable, "-c", script], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                text=True, env={**os.environ, "ORVA_SERVICE_DIR": other.name}) as client:
            self.assertEqual(client.stdout.readline(), "open\n")
            mine.kill()
            self.assertTrue(client.stdout.readline().startswith("-1 "))
            # Nothing goes wrong while the interpreter ends, either.
            self.assertNotIn("Traceback", client.stderr.read())
            self.assertEqual(client.wait(60), 0)


if __name__ == "__main__":
    unittest.main()
