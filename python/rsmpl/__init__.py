"""Audio sample-rate conversion.

Whole arrays (`resample`), streams in blocks of any length (`Stream`), the samples that a device
delivers, to the bit (`Resampler`), fragments of bytes (`ratecv`), and FIR filters (`lowpass`,
`highpass`, `bandpass`, `fractional_delay`).

Rates are in Hz.  A frame is one sample of each channel.  Every call lets other Python threads run
while it filters.
"""
from importlib.metadata import version as _version

from rsmpl._design import bandpass, fractional_delay, highpass, lowpass
from rsmpl._device import Resampler
from rsmpl._ratecv import ratecv
from rsmpl._resample import resample
from rsmpl._stream import Stream

__version__ = _version("rsmpl")
__all__ = ["Resampler", "Stream", "bandpass", "fractional_delay", "highpass", "lowpass", "ratecv",
           "resample"]
