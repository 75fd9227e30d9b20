"""Types of the qxcalc package: argument and result dtypes, units in the docstrings.

Arrays are 1-D, C-contiguous and aligned, of exactly the dtype named (no casts).
"""
from types import TracebackType
from typing import Literal, TypeVar, overload

import numpy as np
from numpy.typing import NDArray

_Real = TypeVar("_Real", np.float64, np.float32)
_Raw = np.uint8 | np.int8 | np.int16 | np.uint16 | np.int32 | np.uint32 | np.int64 | np.float32 | np.float64
_Counts = np.float32 | np.int16 | np.int32

def version() -> tuple[int, int]:
    """(major, minor) version of the library, (1, 44) for this release."""

@overload
def min_max(samples: NDArray[np.float64] | NDArray[np.float32]) -> tuple[float, float]:
    """(min, max) of a non-empty float64, float32, int16 or int32 block, in the samples' units."""
@overload
def min_max(samples: NDArray[np.int16] | NDArray[np.int32]) -> tuple[int, int]: ...

@overload
def statistics(samples: NDArray[np.float64] | NDArray[np.float32], offset: float = 0.0, sum: float = 0.0,
               sum_of_squares: float = 0.0) -> tuple[float, float, float, float]:
    """(min, max, sum, sum of (x + offset)**2) of a non-empty float64, float32, int16 or int32 block.

    sum and sum_of_squares are running totals (float64) the block's sums are added to;
    average = sum / count, RMS = sqrt(sum_of_squares / count), in the samples' units.
    offset is taken as float32 for float32 and int16 blocks.
    """
@overload
def statistics(samples: NDArray[np.int16] | NDArray[np.int32], offset: float = 0.0, sum: float = 0.0,
               sum_of_squares: float = 0.0) -> tuple[int, int, float, float]: ...

def move_statistics(source: NDArray[np.int16], stride: int = 1,
                    offset: float = 0.0) -> tuple[NDArray[np.int16], int, int, float, float]:
    """(source[::stride], min, max, sum, sum of squares): one channel of interleaved int16 frames.

    stride: channels per frame (>= 1); offset: float32, as in statistics().
    """

def int16_to_int32(source: NDArray[np.int16]) -> NDArray[np.int32]:
    """int16 array widened to a new int32 array."""

def int32_to_int16(source: NDArray[np.int32]) -> NDArray[np.int16]:
    """Low 16 bits of each int32 value as a new int16 array (wraps, never saturates)."""

def multiply(samples: NDArray[_Real], factor: float) -> NDArray[_Real]:
    """samples * factor as a new array of the samples' dtype (factor rounded to float32 for float32)."""

def double_to_single(source: NDArray[np.float64]) -> NDArray[np.float32]:
    """float64 array rounded to a new float32 array."""

def single_to_double(source: NDArray[np.float32]) -> NDArray[np.float64]:
    """float32 array widened to a new float64 array."""

# type[np.float32] and type[np.float64] are one type to a checker (the bit width is
# a type parameter), so it takes the two overloads for overlapping.
@overload
def scale_channel(raw: NDArray[_Raw], scale: float, offset: float,  # type: ignore[misc]
                  dtype: Literal["float32"] | type[np.float32]) -> NDArray[np.float32]:
    """raw * scale + offset: raw counts of nine formats in physical units.

    scale: units per count; offset: units; both rounded to dtype (float64, the default,
    or float32), which is also the result's dtype and the arithmetic's precision.
    """
@overload
def scale_channel(raw: NDArray[_Raw], scale: float, offset: float,
                  dtype: Literal["float64"] | type[np.float64] = "float64") -> NDArray[np.float64]: ...

class IIRFilter:
    """A cascade of IIR sections with its history, run one sample at a time.

    Section s computes y = gains[s] * sum(b[s, k] * x[n - K + 1 + k])
                         - sum(a[s, k] * y[n - K + 1 + k] for k < K - 1),
    K blocks per section, block 0 the oldest; K = 3 is a second-order section.
    A scipy sos row [b0, b1, b2, 1, a1, a2] is gains 1.0, b [b2, b1, b0], a [a2, a1, 0].
    """
    def __init__(self, gains: NDArray[np.float64], b: NDArray[np.float64], a: NDArray[np.float64]) -> None:
        """gains: one per section; b, a: (sections, K) with K >= 2, all float64."""
    def __call__(self, samples: NDArray[_Real]) -> NDArray[_Real]:
        """The next samples through the cascade, outputs in the samples' dtype; the history carries over."""
    def reset(self) -> None:
        """Clears the history for a new stream."""

class PinkFilter:
    """White to pink (1/f) noise, one float64 sample at a time, with its state."""
    def __init__(self) -> None: ...
    def __call__(self, white: NDArray[np.float64]) -> NDArray[np.float64]:
        """The next white-noise samples as pink noise; the state carries over."""
    def reset(self) -> None:
        """Clears the state for a new stream."""

def fir(history: NDArray[np.float32], taps: NDArray[np.float32], position: int = 0) -> float:
    """One float32 FIR output over a ring: sum(taps[k] * history[(position + k) % len(history)]).

    history[position] is the oldest sample and meets taps[0]; 0 <= position <= len(history).
    """

def fir_filter(samples: NDArray[np.float32], taps: NDArray[np.float32]) -> NDArray[np.float32]:
    """A block through the FIR in float32: numpy.convolve(samples, taps, 'valid').

    len(samples) - len(taps) + 1 outputs, output i = sum(taps[k] * samples[i + len(taps) - 1 - k]).
    """

def moving_average(input: NDArray[np.float64], window_length: int, scalar: bool = False) -> NDArray[np.float64]:
    """Centred moving average over window_length | 1 samples (0..65535, at most len(input)).

    The first and last half-windows repeat the nearest full window's mean.
    scalar=True runs the one-at-a-time form.
    """

def ca_filter(samples: NDArray[_Counts], coefficients: NDArray[np.float32], stride: int = 1) -> float:
    """sum(samples[-1 - i] * coefficients[i * stride]): the newest sample meets coefficients[0]."""

def pv_positions(input: NDArray[np.float32], min_value: int, max_value: int, scale: float, offset: float,
                 reference: float | None = None) -> NDArray[np.int32]:
    """Axis positions (e.g. pixels) of values, clamped to min_value..max_value.

    Linear: round(value * scale + offset); with a reference value, logarithmic:
    round(log10(value / reference) * scale + offset), scale in positions per decade.
    """

def copy_raw_to_channel(raw: NDArray[np.float32], first: int, end: int,
                        offset: float) -> tuple[NDArray[np.float32], float, int | None]:
    """(raw[first:end] - offset, its maximum, the maximum's index in raw or None if none is positive)."""

def overall_pressure(cycle: NDArray[np.float32], overall: NDArray[np.float32], cycle_count: int) -> float:
    """Folds a cycle's curve into the mean of all cycles, in place (overall: the mean of cycle_count curves).

    Returns the new mean curve's maximum.
    """

def running_value(cycle: NDArray[np.float32], leaving: NDArray[np.float32], sums: NDArray[np.float32],
                  means: NDArray[np.float32], cycle_count: int, window_cycles: int) -> None:
    """Folds a cycle's curve into the mean of the last window_cycles cycles, in place (sums, means).

    leaving: the curve that drops out once the window is full; cycle_count: cycles folded before.
    """

class Interpolator:
    """Streaming float32 sample-rate converter (Catmull-Rom cubic); a context manager.

    When output_rate is below input_rate the last outputs of a call read ahead of the
    newest sample, so they depend on how the stream is cut into calls.
    """
    def __init__(self, input_rate: float, output_rate: float, buffer_length: int = 4096) -> None:
        """Rates in Hz (only their ratio counts), positive and finite; buffer_length: a power of two >= 2."""
    def process(self, samples: NDArray[np.float32]) -> NDArray[np.float32]:
        """Feeds samples of any length; returns every output now computable."""
    def stop(self) -> NDArray[np.float32]:
        """Ends the stream; returns the last outputs."""
    def reset(self) -> None:
        """Starts a new stream."""
    def close(self) -> None:
        """Releases the interpolator; later calls raise ValueError."""
    def __enter__(self) -> "Interpolator": ...
    def __exit__(self, kind: type[BaseException] | None, value: BaseException | None,
                 traceback: TracebackType | None) -> None: ...
