"""Resamplers under one face, for the scripts beside it: each takes int16 samples, their rate and another one, and
keeps its delay or takes it out as it likes."""
import subprocess
import numpy as np
from release import RELEASE

CALL = 960  # rsmpl_through leaves out what fills no call


def through(command, x):
    out = subprocess.run(command, input=x.tobytes(), stdout=subprocess.PIPE, check=True).stdout
    return np.frombuffer(out, "<i2")


def peer(name):
    return lambda x, rate, to: through([RELEASE / "bench/rsmpl_through", str(rate), str(to), name], x)


def ours(engine):
    def convert(x, rate, to):
        one_way = "auto" if engine == "device" and to > rate else engine  # a device only goes down
        return through([RELEASE / "cli/rsmpl", "-q", "--engine", one_way, "-r", str(to), "--format", "raw",
                        "--raw", f"{rate},1", "-", "-"], x)
    return convert


def linear(x, rate, to):
    times = np.arange(len(x) * to // rate) * rate / to
    return np.round(np.interp(times, np.arange(len(x)), x)).astype("<i2")


RESAMPLERS = {
    "rsmpl, stage": ours("auto"),
    "rsmpl, the three calls": ours("device"),
    "rsmpl, FIR": ours("fir"),
    "soxr HQ, not dithered": peer("soxr HQ, no dither"),  # dither differs from run to run
    "speexdsp 4, its default": peer("speexdsp quality 4 (default)"),
    "swresample, its default": peer("swresample (default)"),
    "linear interpolation": linear,
}
