from __future__ import annotations

import threading
from typing import Any

import numpy as np
import numpy.typing as npt

from rsmpl import _errors
from rsmpl._native import ffi, lib


class Resampler(_errors.NotCopied):
    """What a device makes of a signal, to the bit.

    The three calls of resample_api.h: `resample_init`, `resample_process`, `resample_exit`.
    Whatever the ratio, the filter is the 1:3 decimator; outputs are truncated toward zero and wrap
    around where they leave 16 bits.  For everything else there is `Stream`.

    Parameters
    ----------
    channels : int
        1 to 16.
    in_rate, out_rate : int
        In Hz; in_rate is a multiple of out_rate.
    block : int
        Frames per call.  `frames_in` of them are taken: the largest multiple of in_rate / out_rate.
        Those are filtered if they are a multiple of 6, and at least 18; otherwise the device
        delivers zeros.

    Raises
    ------
    ValueError
        For what the calls refuse; nothing is printed.

    Notes
    -----
    With a ratio of 3, every output is filtered; with 1 or 2, the first third of `frames_in`, and
    zeros follow; above 3, the outputs are the first ones of that third.

    Examples
    --------
    >>> import numpy as np, rsmpl
    >>> with rsmpl.Resampler(1, 48000, 16000, 960) as device:
    ...     int(device.process(np.full((1, 960), 1000, "int16"))[0, -1])
    944
    """

    def __init__(self, channels: int, in_rate: int, out_rate: int, block: int) -> None:
        self._channels = _errors.whole("channels", channels, 1, 16)
        in_rate = _errors.whole("in_rate", in_rate, 1, _errors.INT_MAX)
        out_rate = _errors.whole("out_rate", out_rate, 1, _errors.INT_MAX)
        block = _errors.whole("block", block, 0, _errors.INT_MAX // self._channels)
        if in_rate % out_rate:
            raise ValueError(f"{in_rate} is not a multiple of {out_rate}, as a device needs; "
                             f"{max(in_rate // out_rate, 1) * out_rate} is")
        self._frames_out = block // (in_rate // out_rate)
        self._frames_in = self._frames_out * (in_rate // out_rate)
        self._name = (f"{in_rate} to {out_rate} Hz, {_errors.channels(self._channels)}, "
                      f"blocks of {block}")
        self._lock = threading.Lock()
        handle = lib.resample_init(self._channels, in_rate, out_rate, block)
        if handle == ffi.NULL:
            raise MemoryError("not enough memory for such blocks")
        self._handle: Any = ffi.gc(handle, lib.resample_exit)

    def process(self, x: npt.NDArray[np.int16]) -> npt.NDArray[np.int16]:
        """Convert one block.

        Parameters
        ----------
        x : ndarray of int16, shape (channels, frames_in); (frames_in,) for one channel

        Returns
        -------
        ndarray of int16, shape (channels, frames_out); (frames_out,) if x has one dimension
        """
        if getattr(x, "dtype", None) != np.int16:
            raise TypeError("a device takes an array of int16, such as np.asarray(x, 'int16')")
        if x.shape != (self._channels, self._frames_in) and (x.shape, self._channels) != (
                (self._frames_in,), 1):
            raise ValueError(f"a block of shape {x.shape}; "
                             f"({self._channels}, {self._frames_in}) is accepted")
        x = np.ascontiguousarray(x)
        if not x.flags.aligned:
            x = x.copy()
        y = np.empty((*x.shape[:-1], self._frames_out), np.int16)
        with self._lock:
            if self._handle is None:
                raise ValueError("the resampler is closed")
            if lib.resample_process(self._handle, _shorts(x), _shorts(y), x.size) != 0:
                raise RuntimeError("resample_process refused a block")
        return y

    def close(self) -> None:
        """Release what it holds; once more does nothing."""
        with self._lock:
            if self._handle is not None:
                ffi.release(self._handle)
            self._handle = None

    @property
    def frames_in(self) -> int:
        """Frames per call that `process` takes."""
        return self._frames_in

    @property
    def frames_out(self) -> int:
        """Frames per call that it returns."""
        return self._frames_out

    def __enter__(self) -> Resampler:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __repr__(self) -> str:
        return f"<rsmpl.Resampler: {self._name}{', closed' * (self._handle is None)}>"


def _shorts(array: npt.NDArray[np.int16]) -> Any:
    return ffi.cast("short*", array.__array_interface__["data"][0])
