#!/usr/bin/env python3
"""Times the qxcalc package against the NumPy and SciPy calls an analyst writes today.

Each row runs both forms on the same arrays, at a cache-sized block (16 Ki
samples) and a memory-sized one (8 Mi samples), and prints a Markdown table:
the best time of each form over several rounds, how many times faster qxcalc
is (NumPy/SciPy time over qxcalc time) and whether the results agree, exactly
or with the largest difference (relative for sums). Rows whose two forms do not
compute the same quantity say so.

    python3 python/bench_numpy.py [--rounds N] [--sizes 16384,8388608]

Needs the installed package (pip install) or PYTHONPATH=build/linux-x64/python,
and Debian's python3-numpy and python3-scipy.
"""
import argparse
import sys
import time
from pathlib import Path

import numpy as np
from scipy import signal

# This script's folder holds the package's sources without the built module:
# import the installed (or PYTHONPATH) copy instead.
sys.path = [p for p in sys.path if Path(p or ".").resolve() != Path(__file__).resolve().parent]
import qxcalc as q  # noqa: E402

RATE_IN, RATE_OUT = 48000, 44100


def best_time(call, rounds, budget):
    """The shortest time of one call, from `rounds` rounds of enough calls to fill `budget` seconds."""
    start = time.perf_counter()
    call()
    repeat = max(1, int(budget / max(time.perf_counter() - start, 1e-7)))
    best = float("inf")
    for _ in range(rounds):
        start = time.perf_counter()
        for _ in range(repeat):
            call()
        best = min(best, (time.perf_counter() - start) / repeat)
    return best


def difference(ours, theirs, relative=False):
    ours, theirs = np.atleast_1d(np.asarray(ours, np.float64)), np.atleast_1d(np.asarray(theirs, np.float64))
    if np.array_equal(ours, theirs):
        return "exact"
    gap = np.abs(ours - theirs)
    if relative:
        return f"rel. {np.max(gap / np.maximum(np.abs(theirs), 1e-300)):.1e}"
    return f"max {np.max(gap):.1e}"


def rows(n, rng):
    """(operation, dtype, qxcalc call, NumPy/SciPy call, comparison of their results)."""
    f64 = rng.standard_normal(n)
    f32 = f64.astype(np.float32)
    i16 = (f64 * 4000).clip(-32768, 32767).astype(np.int16)

    def same(relative=False):
        return lambda ours, theirs: difference(ours, theirs, relative)

    def sums(ours, theirs):  # extremes exactly, sums relative
        extremes = "exact" if ours[:2] == tuple(theirs[:2]) else "extremes differ"
        return f"{extremes}; sums {difference(ours[2:], theirs[2:], True)}"

    yield ("min, max, sum, sum of squares", "float64", lambda: q.statistics(f64),
           lambda: (f64.min(), f64.max(), f64.sum(), (f64 * f64).sum()), sums)
    yield ("min, max, sum, sum of squares", "float32", lambda: q.statistics(f32),
           lambda: (f32.min(), f32.max(), f32.sum(), (f32 * f32).sum()), sums)
    yield ("min, max, sum, sum of squares", "int16", lambda: q.statistics(i16),
           lambda: (i16.min(), i16.max(), i16.sum(), (i16.astype(np.int32) ** 2).sum()), sums)
    yield "min, max", "float32", lambda: q.min_max(f32), lambda: (f32.min(), f32.max()), same()
    yield ("channel scaling raw * 0.004 + 1.5", "int16 to float32",
           lambda: q.scale_channel(i16, 0.004, 1.5, dtype="float32"),
           lambda: i16.astype(np.float32) * np.float32(0.004) + np.float32(1.5), same())
    yield ("channel scaling raw * 0.004 + 1.5", "int16 to float64", lambda: q.scale_channel(i16, 0.004, 1.5),
           lambda: i16.astype(np.float64) * 0.004 + 1.5, same())
    sos = signal.butter(4, 0.1, output="sos")
    cascade = q.IIRFilter(np.ones(len(sos)), sos[:, 2::-1].copy(),
                          np.column_stack([sos[:, 5], sos[:, 4], np.zeros(len(sos))]))

    def iir():
        cascade.reset()
        return cascade(f64)

    yield "IIR low-pass, 2 sections (sosfilt)", "float64", iir, lambda: signal.sosfilt(sos, f64), same()
    taps = signal.firwin(63, 0.2).astype(np.float32)
    yield ("FIR, 63 taps (convolve 'valid')", "float32", lambda: q.fir_filter(f32, taps),
           lambda: np.convolve(f32, taps, "valid"), same())
    window = np.full(9, 1 / 9)
    yield ("moving average, 9 samples (convolve 'same')", "float64", lambda: q.moving_average(f64, 9),
           lambda: np.convolve(f64, window, "same"),
           lambda ours, theirs: "inside: " + difference(ours[4:-4], theirs[4:-4]) + "; ends differ")

    def resample():
        with q.Interpolator(RATE_IN, RATE_OUT) as converter:
            return np.concatenate([converter.process(f32), converter.stop()])

    yield (f"resampling {RATE_IN} to {RATE_OUT} Hz (resample_poly)", "float32", resample,
           lambda: signal.resample_poly(f32, 147, 160),
           lambda ours, theirs: "other method (cubic against polyphase FIR)")


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--rounds", type=int, default=5)
    parser.add_argument("--sizes", default="16384,8388608", help="block lengths in samples, comma-separated")
    options = parser.parse_args()
    print(f"qxcalc {'.'.join(map(str, q.version()))}, NumPy {np.__version__}, SciPy "
          f"{__import__('scipy').__version__}; best of {options.rounds} rounds\n")
    print("| Operation | dtype | samples | qxcalc | NumPy/SciPy | faster | results |")
    print("|---|---|---:|---:|---:|---:|---|")
    for n in map(int, options.sizes.split(",")):
        for name, dtype, ours, theirs, compare in rows(n, np.random.default_rng(1)):
            budget = 0.05 if n <= 1 << 20 else 0.0
            ours_time = best_time(ours, options.rounds, budget)
            theirs_time = best_time(theirs, options.rounds, budget)
            print(f"| {name} | {dtype} | {n} | {ours_time * 1e6:.1f} µs | {theirs_time * 1e6:.1f} µs "
                  f"| {theirs_time / ours_time:.2f}x | {compare(ours(), theirs())} |", flush=True)


if __name__ == "__main__":
    main()
