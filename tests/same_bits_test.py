#!/usr/bin/env python3
"""same_bits_test.py 2_PIPE 3_ANY_RATES [EMULATOR...]: the package gives the samples of these two
programs, here those of a board, from ten minutes of noise with the level and spectrum of speech."""
import hashlib, subprocess, sys
import numpy as np
import rsmpl
from scipy.signal import lfilter

RATE, BLOCK, MINUTES = 48000, 960, 10
noise = np.random.default_rng(7)


def minute():
    """Falling by 6 dB per octave, in syllables; the loudest go beyond full scale when filtered."""
    syllables = np.repeat(noise.uniform(0, 1, 60 * 4) ** 3, RATE // 4)
    shaped = lfilter([1, -1], [1, -1.9, 0.903], noise.standard_normal(60 * RATE))
    return np.clip(shaped * syllables * 9000, -32768, 32767).astype(np.int16)


def output(program, x):
    return subprocess.run([*sys.argv[3:], program], input=x.tobytes(), check=True,
                          stdout=subprocess.PIPE).stdout


def check(name, board, here):
    sums = [hashlib.sha256(samples).hexdigest() for samples in (board, here)]
    print(f"{name:12} {len(here) // 2:9} samples  board {sums[0]:.16}  here {sums[1]:.16}")
    if sums[0] != sums[1] or not here:
        sys.exit(f"{name}: not the same")


x = np.concatenate([minute() for _ in range(MINUTES)])
with rsmpl.Resampler(1, RATE, 16000, BLOCK) as device:
    here = np.concatenate([device.process(block[None]) for block in x.reshape(-1, BLOCK)], axis=1)
check("device", output(sys.argv[1], x), here.tobytes())
check("any rates", output(sys.argv[2], x), rsmpl.resample(x, 44100, 16000).tobytes())
wrapped = np.abs(np.diff(here[0].astype(int))).max()
if wrapped < 60000:
    sys.exit(f"nothing wrapped around: the largest step is {wrapped}")
