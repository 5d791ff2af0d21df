"""FIR filters designed by frequency sampling.

Edges are fractions of the sampling rate, 0.5 being the Nyquist frequency.  The gain of the pass
band is 1 before the window; nothing is normalised after it.  The peak of the impulse response is at
taps / 2, half a sample later than the window's centre.
"""
from __future__ import annotations

import operator
from typing import Any

import numpy as np
import numpy.typing as npt

from rsmpl import _errors
from rsmpl._native import ffi, lib

Taps = npt.NDArray[np.float32]

# A tenth of a second's work.  Far more would have the system end the process for want of memory.
MOST_TAPS = 2**20

WINDOWS: dict[str, int] = {"none": lib.WIN_NONE, "blackman": lib.WIN_BLACKMAN,
                           "hamming": lib.WIN_HAMMING, "hanning": lib.WIN_HANNING}


def lowpass(taps: int, edge: float, window: str = "hamming") -> Taps:
    """Design a filter that passes what is below `edge`.

    Parameters
    ----------
    taps : int
        How many, 1 to 2**20; typically 64.
    edge : float
        As a fraction of the sampling rate, above 0 and below 0.5.
    window : {"hamming", "hanning", "blackman", "none"}
        With "hamming" the response falls from -1 to -50 dB within about 3 / taps.

    Returns
    -------
    ndarray of float32, shape (taps,)

    Examples
    --------
    >>> import rsmpl
    >>> h = rsmpl.lowpass(64, 0.25)
    >>> int(h.argmax()), round(float(h.sum()), 2)
    (32, 1.0)
    """
    return _designed(lib.GeneralFIRLowpass, taps, window, _edge("edge", edge))


def highpass(taps: int, edge: float, window: str = "hamming") -> Taps:
    """Design a filter that passes what is above `edge`; the parameters are those of `lowpass`."""
    return _designed(lib.GeneralFIRHighpass, taps, window, _edge("edge", edge))


def bandpass(taps: int, low: float, high: float, window: str = "hamming") -> Taps:
    """Design a filter that passes what is from `low` to `high`, both edges as of `lowpass`."""
    low, high = _edge("low", low), _edge("high", high)
    if not low < high:
        raise ValueError(f"low is {low}, high {high}; low has to be below high")
    return _designed(lib.GeneralFIRBandpass, taps, window, low, high)


def fractional_delay(taps: int, delay: float, window: str = "hamming") -> Taps:
    """Design a filter that delays everything by `delay` samples, which need not be whole.

    Parameters
    ----------
    taps, window
        As of `lowpass`.
    delay : float
        In samples, 0 to taps - 1.  A whole one is exact; any other is best near taps / 2, because
        what is shifted beyond the taps is lost.

    Returns
    -------
    ndarray of float32, shape (taps,)

    Examples
    --------
    >>> import rsmpl
    >>> rsmpl.fractional_delay(4, 1)
    array([0., 1., 0., 0.], dtype=float32)
    """
    if not 0 <= delay <= operator.index(taps) - 1:
        raise ValueError(f"delay is {delay}; 0 to taps - 1 is accepted")
    return _designed(lib.GeneralFIRFractionalDelay, taps, window, delay)


def _edge(name: str, edge: float) -> float:
    if not 0 < np.float32(edge) < 0.5:
        raise ValueError(f"{name} is {edge}; it is a fraction of the sampling rate, above 0 and "
                         "below 0.5")
    return float(edge)


def _designed(design: Any, taps: int, window: str, *edges: float) -> Taps:
    taken = _errors.whole("taps", taps, 1, MOST_TAPS)
    kind = _errors.choice("window", window, WINDOWS)
    h = np.empty(taken, np.float32)
    if not design(ffi.cast("float*", h.__array_interface__["data"][0]), taken, kind, *edges):
        raise MemoryError(f"not enough memory for {taken} taps")
    return h
