from __future__ import annotations

import threading
from typing import Any, Optional, Tuple

import numpy as np
import numpy.typing as npt

from rsmpl import _errors
from rsmpl._native import ffi, lib
from rsmpl._stream import Stream


class Conversion(_errors.NotCopied):
    """What the calls of `ratecv` on one signal share."""

    def __init__(self, nchannels: int, inrate: int, outrate: int) -> None:
        self.stream = Stream(inrate, outrate, nchannels, "int16")
        self.given = (nchannels, inrate, outrate)
        self.lock = threading.Lock()
        self.frames = 0
        self.smoothed = ffi.new("double[]", nchannels)  # the last output of the input filter

    def __repr__(self) -> str:
        return f"<{self.given[1]} to {self.given[2]} Hz, {_errors.channels(self.given[0])}>"


State = Tuple[Conversion, int]


def ratecv(fragment: Any, width: int, nchannels: int, inrate: int, outrate: int,
           state: Optional[State], weightA: int = 1, weightB: int = 0, /) -> Tuple[bytes, State]:
    """Convert the rate of a fragment, as the function of this name in Python's former `audioop`.

    Parameters
    ----------
    fragment : bytes-like
        Whole frames of 16-bit samples in the machine's byte order, interleaved.
    width : int
        Bytes per sample: 2.
    nchannels : int
        1 to 64.
    inrate, outrate : int
        In Hz.  Divided by their common divisor neither may be above 1024.
    state : tuple or None
        None for the first fragment of a signal, later what the call before returned.
    weightA, weightB : int
        A simple filter of the input, y[n] = (A x[n] + B y[n-1]) / (A + B) in each channel, with A
        at least 1 and B at least 0.

    Returns
    -------
    newfragment : bytes
        The frames that are ready; all fragments together are those of one `Stream`.
    newstate : tuple
        For the next call, and for that one only.

    Raises
    ------
    ValueError, TypeError
        For another width, part of a frame, a state of other rates or channels, and a state that a
        call has gone on from already.

    Notes
    -----
    Unlike the former function it filters out what the new rate can't hold, and delivers whole
    groups: after n frames floor(n / M) * L, where the rates reduce to L / M.  The input filter's
    result is rounded to 16 bits.

    Examples
    --------
    >>> import rsmpl
    >>> first, state = rsmpl.ratecv(bytes(1920), 2, 1, 48000, 16000, None)
    >>> second, state = rsmpl.ratecv(bytes(1920), 2, 1, 48000, 16000, state)
    >>> len(first), len(second)
    (640, 640)
    """
    _errors.whole("nchannels", nchannels, 1, lib.RSMPL_STREAM_MOST_CHANNELS)
    frames = _frames(fragment, width, nchannels)
    a = _errors.whole("weightA", weightA, 1, _errors.INT_MAX)
    b = _errors.whole("weightB", weightB, 0, _errors.INT_MAX)
    if state is None:
        state = Conversion(nchannels, inrate, outrate), 0
    elif not (isinstance(state, tuple) and len(state) == 2 and isinstance(state[0], Conversion)):
        raise TypeError("state is None, or what the call before returned")
    conversion, done = state
    if conversion.given != (nchannels, inrate, outrate):
        raise ValueError(f"the state is one of {conversion!r}; begin another signal with None")
    with conversion.lock:
        if conversion.frames != done:
            raise ValueError(f"the state after {done} frames was gone on from already; the signal "
                             f"is at {conversion.frames}: use each state once, the newest")
        if b > 0:
            frames = _smoothed(frames, a, b, conversion)
        converted = conversion.stream.process(frames)
        conversion.frames += len(frames)
        return converted.tobytes(), (conversion, conversion.frames)


def _frames(fragment: Any, width: int, nchannels: int) -> npt.NDArray[np.int16]:
    if width != 2:
        raise ValueError(f"width is {width!r}; only 2, samples of 16 bits, is served")
    samples = memoryview(fragment).cast("B")
    if len(samples) % (2 * nchannels):
        raise ValueError(f"{len(samples)} bytes are not whole frames of {2 * nchannels} bytes")
    return np.frombuffer(samples, np.int16).reshape(-1, nchannels)


def _smoothed(x: npt.NDArray[np.int16], a: int, b: int,
              conversion: Conversion) -> npt.NDArray[np.int16]:
    y = np.array(x)
    place = ffi.cast("short*", y.__array_interface__["data"][0])
    lib.rsmpl_smooth(place, len(y), y.shape[1], a, b, conversion.smoothed, place)
    return y
