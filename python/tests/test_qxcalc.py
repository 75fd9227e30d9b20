import ast
import pydoc
from pathlib import Path

import numpy as np
import pytest

import qxcalc as q

F32, F64 = np.float32, np.float64


def test_package_carries_its_library_stubs_and_help():
    package = Path(q.__file__).parent
    # the library loaded is the copy beside the module, not one on the system's path
    assert str(package / "libqxcalc-avx.so.1") in Path("/proc/self/maps").read_text()
    assert (package / "py.typed").exists()
    stub = ast.parse((package / "__init__.pyi").read_text())
    stubbed = {node.name for node in stub.body if isinstance(node, (ast.FunctionDef, ast.ClassDef))}
    exported = {name for name in dir(q._qxcalc) if not name.startswith("_")}
    assert stubbed == set(q.__all__) == exported
    text = pydoc.plain(pydoc.render_doc(q))
    assert all(getattr(q, name).__doc__ and f"{name}(" in text for name in q.__all__)


def ramp(dtype, n, start=-3):
    return (np.arange(n) % 17 + start).astype(dtype)


@pytest.mark.parametrize("dtype", [F64, F32, np.int16, np.int32])
@pytest.mark.parametrize("n", [5, 37])  # below and above one vector
def test_statistics_match_numpy(dtype, n):
    x = ramp(dtype, n)
    assert q.min_max(x) == (x.min(), x.max())
    shifted = x.astype(F64) + 1.5
    expect = (x.min(), x.max(), 10.0 + x.sum(dtype=F64), 20.0 + (shifted * shifted).sum())
    assert q.statistics(x, offset=1.5, sum=10.0, sum_of_squares=20.0) == expect


@pytest.mark.parametrize("n", [3, 40])
def test_move_statistics_extracts_one_interleaved_channel(n):
    frames = ramp(np.int16, 4 * n, start=-8)
    channel, lo, hi, total, squares = q.move_statistics(frames[1:], stride=4)
    np.testing.assert_array_equal(channel, frames[1::4])
    assert (lo, hi, total, squares) == (channel.min(), channel.max(), channel.sum(dtype=F64),
                                        (channel.astype(F64) ** 2).sum())


@pytest.mark.parametrize("n", [0, 3, 37])
def test_conversions_match_numpy_casts(n):
    wide = np.array([70000, -40000, -1, 5] * 10, np.int32)[:n]
    np.testing.assert_array_equal(q.int32_to_int16(wide), wide.astype(np.int16))
    np.testing.assert_array_equal(q.int16_to_int32(wide.astype(np.int16)), wide.astype(np.int16))
    x = np.linspace(-1, 1, n) / 3
    np.testing.assert_array_equal(q.multiply(x, 0.7), x * 0.7)
    np.testing.assert_array_equal(q.multiply(x.astype(F32), 0.7), x.astype(F32) * F32(0.7))
    np.testing.assert_array_equal(q.double_to_single(x), x.astype(F32))
    np.testing.assert_array_equal(q.single_to_double(x.astype(F32)), x.astype(F32).astype(F64))


@pytest.mark.parametrize("raw", "u1 i1 i2 u2 i4 f4 i8 f8 u4".split())
def test_scale_channel_reads_each_raw_format(raw):
    x = ramp(raw, 21, start=0 if raw.startswith("u") else -5)
    if raw[0] in "iu":  # the extremes tell signed from unsigned and the widths apart
        x = np.append(x, [np.iinfo(raw).min, np.iinfo(raw).max]).astype(raw)
    for out in (F64, F32):
        np.testing.assert_array_equal(q.scale_channel(x, 2.5, 0.5, dtype=out),
                                      (x.astype(F64) * 2.5 + 0.5).astype(out))


def test_iir_second_order_and_general_sections():
    x = ramp(F64, 30)
    smooth = q.IIRFilter(np.ones(1), np.array([[0.25, 0.5, 0.25]]), np.zeros((1, 3)))
    np.testing.assert_array_equal(smooth(x), np.convolve(x, [0.25, 0.5, 0.25])[:30])
    smooth.reset()
    np.testing.assert_array_equal(smooth(x.astype(F32)), np.convolve(x, [0.25, 0.5, 0.25])[:30])
    # y[n] = 2 x[n] + 0.5 y[n-1], gain 2, two blocks per section
    leaky = q.IIRFilter(np.array([2.0]), np.array([[0.0, 1.0]]), np.array([[-0.5, 0.0]]))
    assert list(leaky(np.array([1.0, 0.0, 0.0]))) == [2.0, 1.0, 0.5]


def test_pink_and_fir():
    pink, white = q.PinkFilter(), ramp(F64, 10) / 7
    first = pink(white)
    assert not np.array_equal(pink(white), first)  # the state carries over
    pink.reset()
    np.testing.assert_array_equal(pink(white), first)
    history, taps = ramp(F32, 9), np.arange(9, dtype=F32)
    assert q.fir(history, taps, 4) == (taps * np.roll(history, -4)).sum()
    # small integers: every sum is exact, so any order of summation agrees
    np.testing.assert_array_equal(q.fir_filter(ramp(F32, 40), taps), np.convolve(ramp(F32, 40), taps, "valid"))


@pytest.mark.parametrize("dtype", [F32, np.int16, np.int32])
def test_ca_filter_reads_backwards_from_the_newest(dtype):
    coefficients = np.array([1, 10, 100, 1000, 10000], F32)
    assert q.ca_filter(np.array([1, 2, 3], dtype), coefficients, stride=2) == 10203.0


def test_cycle_analysis_worked_values():
    for scalar in (False, True):
        np.testing.assert_array_equal(q.moving_average(np.arange(10.0), 2, scalar=scalar),
                                      [1, 1, 2, 3, 4, 5, 6, 7, 8, 8])
    pv = np.array([1.4, 2.6, 100, -9], F32)
    np.testing.assert_array_equal(q.pv_positions(pv, 0, 50, 1.0, 0.0), [1, 3, 50, 0])
    np.testing.assert_array_equal(q.pv_positions(np.array([1.4, 14, 140], F32), 0, 15, 10.0, 1.0, reference=1.4),
                                  [1, 11, 15])
    channel, top, index = q.copy_raw_to_channel(np.array([9, 1, 5, 2, -1], F32), 1, 5, 1.0)
    assert (list(channel), top, index) == ([0, 4, 1, -2], 4.0, 2)
    assert q.copy_raw_to_channel(np.array([0.5, -1], F32), 0, 2, 1.0)[2] is None
    overall = np.zeros(3, F32)
    q.overall_pressure(np.array([1, 2, 3], F32), overall, 0)
    assert q.overall_pressure(np.array([3, 2, 1], F32), overall, 1) == 2.0
    assert list(overall) == [2, 2, 2]
    sums, means, cycles = np.zeros(2, F32), np.zeros(2, F32), np.array([[2, 4], [4, 8], [6, 0]], F32)
    for n, cycle in enumerate(cycles):  # a window of two cycles
        q.running_value(cycle, cycles[n - 2], sums, means, n, 2)
    assert list(means) == [5, 4]


def test_interpolator_streams_and_closes():
    ramp_in = np.arange(50, dtype=F32)
    with q.Interpolator(1.0, 2.0, buffer_length=4096) as whole:
        reference = np.concatenate([whole.process(ramp_in), whole.stop()])
        with pytest.raises(RuntimeError, match="stopped"):
            whole.stop()
        whole.reset()
        np.testing.assert_array_equal(whole.process(ramp_in), reference[:len(reference) - 2])
    np.testing.assert_array_equal(reference[2:-4], np.arange(2, len(reference) - 4) / 2)
    with pytest.raises(ValueError, match="closed"):
        whole.process(ramp_in)
    with q.Interpolator(1.0, 2.0, buffer_length=8) as small:  # fed in several blocks
        np.testing.assert_array_equal(np.concatenate([small.process(ramp_in), small.stop()]), reference)
    # a ring that is no power of two, a rate the output buffer cannot be sized from
    for bad in [(1.0, 2.0, 6), (1.0, 2.0, 1), (0.0, 2.0, 8), (1.0, np.nan, 8), (1000.0, 1.0, 8)]:
        with pytest.raises(ValueError):
            q.Interpolator(*bad)


def misaligned(n):
    return np.frombuffer(bytearray(8 * n + 1), F64, n, offset=1)


@pytest.mark.parametrize("call, error, message", [
    (lambda: q.min_max(np.arange(5)), TypeError, "int64"),
    (lambda: q.min_max(np.arange(9.0).astype(">f8")), TypeError, "dtype"),
    (lambda: q.min_max(np.arange(9.0)[::2]), ValueError, "contiguous"),
    (lambda: q.min_max(np.zeros((2, 2))), ValueError, "dimension"),
    (lambda: q.min_max(misaligned(4)), ValueError, "aligned"),
    (lambda: q.statistics(np.zeros(0)), ValueError, "at least 1"),
    (lambda: q.scale_channel(np.zeros(3), 1.0, 0.0, dtype=np.int32), TypeError, "float64"),
    (lambda: q.scale_channel(np.zeros(3, bool), 1.0, 0.0), TypeError, "uint8"),
    (lambda: q.move_statistics(np.zeros(4, np.int16), stride=0), ValueError, "stride"),
    (lambda: q.fir(np.zeros(4, F32), np.zeros(3, F32)), ValueError, "taps"),
    (lambda: q.fir(np.zeros(4, F32), np.zeros(4, F32), 5), ValueError, "position"),
    (lambda: q.fir_filter(np.zeros(3, F32), np.zeros(4, F32)), ValueError, "at least 4"),
    (lambda: q.ca_filter(np.zeros(3, F32), np.zeros(4, F32), 2), ValueError, "coefficients"),
    (lambda: q.moving_average(np.zeros(4), 5), ValueError, "at least 5"),
    (lambda: q.copy_raw_to_channel(np.zeros(4, F32), 1, 5, 0.0), ValueError, "end"),
    (lambda: q.overall_pressure(np.zeros(3, F32), np.zeros(3, F32)[::-1], 0), ValueError, "contiguous"),
    (lambda: q.overall_pressure(np.zeros(3, F32), np.zeros(4, F32), 0), ValueError, "equally"),
    (lambda: q.overall_pressure(np.zeros(3, F32), np.frombuffer(bytes(12), F32), 0), ValueError, "read-only"),
    (lambda: q.IIRFilter(np.ones(2), np.ones((1, 3)), np.ones((1, 3))), ValueError, "row per gain"),
    (lambda: q.IIRFilter(np.ones(1), np.ones((1, 3)), np.ones((1, 2))), ValueError, "shape"),
])
def test_bad_arguments_raise_clear_errors(call, error, message):
    with pytest.raises(error, match=message):
        call()
