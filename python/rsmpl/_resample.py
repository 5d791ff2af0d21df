from __future__ import annotations

from typing import Any, Tuple

import numpy as np
import numpy.typing as npt

from rsmpl import _errors, _signal
from rsmpl._native import ffi, lib

# Streams that have come to their end wait here, as just opened, for the next signal of their kind:
# to design an FIR filter takes as long as to filter half a million samples.
MOST_IDLE = 4
_idle: dict[Tuple[Any, ...], Any] = {}


def resample(x: npt.ArrayLike, in_rate: int, out_rate: int, engine: str = "auto",
             axis: int = 0) -> npt.NDArray[Any]:
    """Convert a whole signal to another rate, every sound in its place in time.

    Parameters
    ----------
    x : array_like, shape (frames,) or (frames, channels)
        1 to 64 channels of float32, float64, int16 or int32, with any strides.  float64 is computed
        in float32.  A list becomes float32.
    in_rate, out_rate : int
        In Hz.  Divided by their common divisor neither may be above 1024.
    engine : {"auto", "iir", "fir"}
        "iir": a stage, for 2:3, 1:2, 1:3, 1:4, 1:6 and their inverses; flat within 0.5 dB up to
        0.875 of the lower Nyquist frequency, 60 dB down from that frequency on.  "fir": linear
        phase; flat within 0.01 dB up to 0.87, 71 dB down.  "auto": a stage where there is one.
    axis : int
        The axis of time: 1 for arrays of (channels, frames).

    Returns
    -------
    ndarray
        ceil(frames * out_rate / in_rate) frames, of x's dtype.  The filter's delay is taken out:
        exactly with "fir", to half a frame with a stage.  Integers are rounded to nearest and
        clipped at their limits; floats have no limits.

    Raises
    ------
    TypeError
        For other dtypes.
    ValueError
        For rates that are not served, and for other shapes.

    Notes
    -----
    The samples are those of a `Stream` in blocks of 960 frames, a device's.  Beyond the signal's
    ends is silence.

    Examples
    --------
    >>> import numpy as np, rsmpl
    >>> tone = np.sin(2 * np.pi * 440 / 44100 * np.arange(44100)).astype("float32")
    >>> y = rsmpl.resample(tone, 44100, 16000)
    >>> y.shape, y.dtype
    ((16000,), dtype('float32'))
    >>> again = np.sin(2 * np.pi * 440 / 16000 * np.arange(16000))
    >>> bool(np.abs(y - again)[100:-100].max() < 1e-3)
    True
    >>> rsmpl.resample([0.5] * 9, 16000, 48000).dtype
    dtype('float32')
    >>> rsmpl.resample(np.zeros((2, 480), "int16"), 48000, 16000, axis=1).shape
    (2, 160)
    """
    signal = _signal.as_signal(x)
    axis = _errors.whole("axis", axis, -signal.ndim, signal.ndim - 1)
    channels = _signal.channels_of(np.swapaxes(signal, 0, axis).shape)
    kind = (channels, *_errors.rates(in_rate, out_rate)[:2], engine, lib.RSMPL_STREAM_ALIGNED)
    stream = _idle.pop(kind, None) or _signal.open_stream(*kind)
    y = _signal.convert(stream, _signal.describe(stream), ffi.new("rsmpl_tally*"), signal, axis,
                        True)
    if len(_idle) >= MOST_IDLE:
        _idle.clear()
    _idle[kind] = stream
    return y.astype(x.dtype, copy=False) if isinstance(x, np.ndarray) else y
