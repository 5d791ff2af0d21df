from __future__ import annotations

import threading
from typing import Any

import numpy as np
import numpy.typing as npt

from rsmpl import _errors, _signal
from rsmpl._native import ffi, lib


class Stream(_errors.NotCopied):
    """A signal that comes in blocks of any length, from 0 frames up.

    Parameters
    ----------
    in_rate, out_rate : int
        In Hz.  Divided by their common divisor neither may be above 1024.
    channels : int
        1 to 64.
    dtype : dtype_like
        Of the samples in and out: float32, float64 (computed in float32), int16 or int32.  Integers
        are rounded to nearest, clipped at their limits, and counted.
    engine : {"auto", "iir", "fir"}
        As of `resample`.

    Notes
    -----
    The rates reduce to out / in = L / M.  After n frames floor(n / M) * L frames have been
    delivered, however the n were split; up to M - 1 wait for their group.  Splits give the same
    samples: those of "fir" to the bit, the stages', whose memory is rounded between calls, to 1e-6
    of the loudest one.  Sounds come out `delay` frames late.

    Floats have no limits.  NaN and infinity flow on until `reset`.

    Threads may share a stream: one call waits for another.

    Examples
    --------
    >>> import numpy as np, rsmpl
    >>> stream = rsmpl.Stream(48000, 16000, dtype="int16")
    >>> [len(stream.process(np.ones(n, "int16"))) for n in (960, 100, 2)]
    [320, 33, 1]
    >>> len(stream.process([], last=True))
    0
    >>> stream
    <rsmpl.Stream: 48000 to 16000 Hz, 1 channel of int16, iir 1/3, delay 1.44 frames>
    """

    def __init__(self, in_rate: int, out_rate: int, channels: int = 1,
                 dtype: npt.DTypeLike = "float32", engine: str = "auto") -> None:
        self._dtype = _signal.checked_dtype(dtype)
        self._channels = _errors.whole("channels", channels, 1, lib.RSMPL_STREAM_MOST_CHANNELS)
        self._stream = _signal.open_stream(self._channels, in_rate, out_rate, engine, 0)
        self._info = _signal.describe(self._stream)
        self._lock = threading.Lock()
        self._tally = ffi.new("rsmpl_tally*")

    def process(self, x: npt.ArrayLike, last: bool = False) -> npt.NDArray[Any]:
        """Take a block and return what is ready.

        Parameters
        ----------
        x : array_like, shape (frames,) for one channel, otherwise (frames, channels)
            Of the stream's dtype, with any strides; (frames, 1) is accepted, too, and lists by a
            stream of float32.  An empty list is no frames.
        last : bool
            The stream ends with this block: what waits, completed with silence, comes with it, so
            that the sum is ceil(n * L / M).  The stream is then as just opened, but for `clipped`.

        Returns
        -------
        ndarray
            As many dimensions as x.

        Raises
        ------
        TypeError, ValueError
            For another dtype or shape; the stream goes on as before.
        """
        block = self._checked(x)
        with self._lock:
            return _signal.convert(self._stream, self._info, self._tally, block, 0, bool(last))

    def _checked(self, x: npt.ArrayLike) -> npt.NDArray[Any]:
        if isinstance(x, (list, tuple)) and len(x) == 0:
            x = np.empty((0, self._channels) if self._channels > 1 else 0, self._dtype)
        block = _signal.as_signal(x)
        if block.dtype != self._dtype:
            raise TypeError(f"{block.dtype.name} given to a stream of {self._dtype.name}; open one "
                            f"of {block.dtype.name}, or convert the samples")
        channels = block.shape[1] if block.ndim == 2 else 1
        if channels != self._channels:
            raise ValueError(f"shape {block.shape} given to a stream of "
                             f"{_errors.channels(self._channels)}; "
                             f"(frames, {self._channels}) is accepted")
        return block

    def reset(self) -> None:
        """As just opened: silence before, nothing waiting, `clipped` 0."""
        with self._lock:
            lib.rsmpl_blocks_reset(self._stream, self._tally)

    @property
    def delay(self) -> float:
        """By how many output frames a tone at a tenth of the lower Nyquist frequency comes late.

        With "fir" all tones do; with a stage, those near the edge come later.
        """
        return float(lib.rsmpl_stream_delay(self._stream))

    @property
    def clipped(self) -> int:
        """Samples of an integer dtype that were clipped since opening or reset."""
        with self._lock:
            return int(lib.rsmpl_stream_clipped(self._stream) + self._tally.clipped)

    @property
    def in_rate(self) -> int:
        """In Hz."""
        return int(self._info.in_rate)

    @property
    def out_rate(self) -> int:
        """In Hz."""
        return int(self._info.out_rate)

    @property
    def channels(self) -> int:
        """How many there are."""
        return self._channels

    @property
    def dtype(self) -> np.dtype[Any]:
        """Of the samples, in and out."""
        return self._dtype

    @property
    def engine(self) -> str:
        """What serves the rates: "iir", "fir", or "copy" for equal ones."""
        return {lib.RSMPL_ENGINE_IIR: "iir", lib.RSMPL_ENGINE_FIR: "fir"}.get(
            self._info.engine, "copy")

    @property
    def up(self) -> int:
        """L of out / in = L / M."""
        return int(self._info.up)

    @property
    def down(self) -> int:
        """M of out / in = L / M."""
        return int(self._info.down)

    def __repr__(self) -> str:
        return (f"<rsmpl.Stream: {self.in_rate} to {self.out_rate} Hz, "
                f"{_errors.channels(self._channels)} of {self._dtype.name}, {self.engine} "
                f"{self.up}/{self.down}, delay {self.delay:.3g} frames>")
