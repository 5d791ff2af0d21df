"""Arrays through a stream."""
from __future__ import annotations

from typing import Any, Tuple

import numpy as np
import numpy.typing as npt

from rsmpl import _errors
from rsmpl._native import ffi, lib

Array = npt.NDArray[Any]

SAMPLES: dict[np.dtype[Any], int] = {
    np.dtype(np.int16): lib.RSMPL_INT16, np.dtype(np.int32): lib.RSMPL_INT32,
    np.dtype(np.float32): lib.RSMPL_FLOAT32, np.dtype(np.float64): lib.RSMPL_FLOAT64}
ENGINES: dict[str, int] = {"auto": lib.RSMPL_ENGINE_AUTO, "iir": lib.RSMPL_ENGINE_IIR,
                           "fir": lib.RSMPL_ENGINE_FIR}


def open_stream(channels: int, in_rate: int, out_rate: int, engine: str, flags: int) -> Any:
    """An rsmpl_stream, which closes itself."""
    in_rate, out_rate, up, down = _errors.rates(in_rate, out_rate)
    code = _errors.choice("engine", engine, ENGINES)
    place = ffi.new("rsmpl_stream**")
    status = lib.rsmpl_stream_open(place, channels, in_rate, out_rate, code, flags)
    if status == lib.RSMPL_STREAM_BAD_RATES:
        raise _errors.no_stage(in_rate, out_rate, up, down)
    if status == lib.RSMPL_STREAM_NO_MEMORY:
        raise MemoryError("not enough memory for a stream")
    if status != lib.RSMPL_STREAM_OK:
        raise ValueError(ffi.string(lib.rsmpl_stream_message(status)).decode())
    return ffi.gc(place[0], lib.rsmpl_stream_close)


def describe(stream: Any) -> Any:
    """Its rsmpl_stream_info."""
    info = ffi.new("rsmpl_stream_info*")
    lib.rsmpl_stream_describe(stream, info)
    return info


def checked_dtype(dtype: npt.DTypeLike) -> np.dtype[Any]:
    """`dtype` in the machine's byte order if it is one of those served."""
    native = np.dtype(dtype).newbyteorder("=")
    if native in SAMPLES:
        return native
    wider = [kind.name for kind in SAMPLES if np.can_cast(native, kind)]
    advice = (f"x.astype({(wider or ['float64'])[0]!r})" if native.kind in "biuf" else
              "resample x.real and x.imag apart" if native.kind == "c" else "give numbers")
    raise TypeError(f"samples of {native.name} are not served, only int16, int32, float32 and "
                    f"float64: {advice}")


def as_signal(x: npt.ArrayLike) -> Array:
    """`x`, which may be a list, as an array that C can read, with one dimension or two."""
    array = np.asarray(x, dtype="float32" if isinstance(x, (list, tuple)) else None)
    if array.ndim not in (1, 2):
        raise ValueError(f"an array of {array.ndim} dimensions; (frames,) or (frames, channels) is "
                         "accepted")
    if array.dtype in SAMPLES and array.flags.aligned:
        return array
    return np.require(array, checked_dtype(array.dtype), ["ALIGNED"])


def channels_of(shape: Tuple[int, ...]) -> int:
    """How many channels `shape`, of time first, has."""
    most: int = lib.RSMPL_STREAM_MOST_CHANNELS
    channels = shape[1] if len(shape) == 2 else 1
    if not 1 <= channels <= most:
        raise ValueError(f"{channels} channels; 1 to {most} are served, or is time along the other "
                         "axis?")
    return channels


def convert(stream: Any, info: Any, tally: Any, x: Array, axis: int, last: bool) -> Array:
    """Takes all of `x`, with time along `axis`, through the stream, in one call.  With `last` the
    signal ends; of a stream that is aligned, it is all of it."""
    along = np.swapaxes(x, 0, axis)
    frames = tally.waiting + len(along)
    shape = list(x.shape)
    shape[axis] = -(-frames * info.up // info.down) if last else frames // info.down * info.up
    y = np.empty(shape, x.dtype)
    if lib.rsmpl_blocks_run(stream, tally, SAMPLES[x.dtype], _view(along), len(along),
                            _view(np.swapaxes(y, 0, axis)), last):
        raise MemoryError("not enough memory to convert; the stream is reset")
    return y


def _view(array: Array) -> Any:
    steps = [stride // array.itemsize for stride in array.strides]
    data = ffi.cast("void*", array.__array_interface__["data"][0])
    return ffi.new("rsmpl_signal*", [data, steps[0], steps[1] if array.ndim == 2 else 1])
