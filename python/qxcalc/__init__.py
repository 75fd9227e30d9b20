"""qxcalc: the qxcalc-avx numeric library over NumPy arrays.

Block statistics, channel scaling, width and precision conversions, IIR,
pink-noise and FIR filters, the cycle-analysis helpers and a streaming
sample-rate converter, each a call into the library's vector code.

Every function takes 1-D, C-contiguous, aligned NumPy arrays of the exact
dtype it names (no silent casts): a wrong dtype raises TypeError; a strided,
misaligned, too short or (for results) read-only array raises ValueError.
Results are new arrays unless a function says it works in place.

    import numpy as np, qxcalc
    qxcalc.statistics(np.arange(100, dtype=np.int16), offset=0.5)
    with qxcalc.Interpolator(48000.0, 44100.0) as resampler:
        out = np.concatenate([resampler.process(signal), resampler.stop()])
"""
from ._qxcalc import (IIRFilter, Interpolator, PinkFilter, ca_filter, copy_raw_to_channel, double_to_single, fir,
                      fir_filter, int16_to_int32, int32_to_int16, min_max, move_statistics, moving_average, multiply,
                      overall_pressure, pv_positions, running_value, scale_channel, single_to_double, statistics,
                      version)

__all__ = ["IIRFilter", "Interpolator", "PinkFilter", "ca_filter", "copy_raw_to_channel", "double_to_single", "fir",
           "fir_filter", "int16_to_int32", "int32_to_int16", "min_max", "move_statistics", "moving_average",
           "multiply", "overall_pressure", "pv_positions", "running_value", "scale_channel", "single_to_double",
           "statistics", "version"]

# The classes show under the package's name (qxcalc.Interpolator) in help() and reprs.
for _cls in (IIRFilter, Interpolator, PinkFilter):
    _cls.__module__ = __name__
del _cls
