"""A tone that sweeps from 0 to 24 kHz in 4 s, brought to 16 kHz: writes a spectrogram for each resampler into
the folder, rows of dB by frequency.  Usage: sweep.py FOLDER"""
import pathlib, sys
import numpy as np

FOLDER = pathlib.Path(sys.argv[1])
sys.path.append(str(pathlib.Path(__file__).resolve().parents[2] / "bench"))
from resamplers import RESAMPLERS

SECONDS, LENGTH, COLUMNS = 4, 512, 340
RATE, OUT = 48000, 16000

t = np.arange(RATE * SECONDS) / RATE
x = np.round(16384 * np.sin(np.pi * RATE / 2 / SECONDS * t**2)).astype("<i2")
x = np.concatenate([x, np.zeros(RATE // 5, "<i2")])  # for what is kept back
window = np.blackman(LENGTH)
for file, name in {"rsmpl": "rsmpl, stage", "linear": "linear interpolation", "swresample": "swresample, its default",
                   "soxr": "soxr HQ, not dithered"}.items():
    y = RESAMPLERS[name](x, RATE, OUT)
    starts = np.linspace(0, OUT * SECONDS - LENGTH, COLUMNS).astype(int)
    spectra = np.fft.rfft(np.stack([y[s : s + LENGTH] for s in starts]) * window)
    levels = 20 * np.log10(np.abs(spectra) * 2 / window.sum() / 16384 + 1e-9)
    np.savetxt(FOLDER / f"sweep-{file}", np.maximum(levels, -120).T, fmt="%.1f")
