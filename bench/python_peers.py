"""An hour of mono int16 from 48 to 16 kHz: seconds, and what becomes of tones.  Each peer is called as
its users would, from int16 to int16 for those that take it, else as floats.  --threads: two at once."""
import multiprocessing, subprocess, sys, threading, time
import numpy as np
import rsmpl

RATE, OUT, SECONDS = 48000, 16000, 3600


def peers():
    """Name, the kind of samples it takes, and its call."""
    import resampy, torch, torchaudio
    from scipy.signal import resample_poly

    torch.set_num_threads(1)
    device = rsmpl.Resampler(1, RATE, OUT, 960)
    sox = ["sox", "-t", "raw", "-r", str(RATE), "-e", "signed", "-b", "16", "-c", "1", "-",
           "-t", "raw", "-", "rate"]

    def blocks(x):
        stream = rsmpl.Stream(RATE, OUT, dtype="int16")
        return np.concatenate([stream.process(b) for b in x.reshape(-1, 960)])

    def calls(x):
        return np.concatenate([device.process(b[None])[0] for b in x.reshape(-1, 960)])

    def pipe(option):
        return lambda x: np.frombuffer(
            subprocess.run([*sox, option, str(OUT)], input=x.tobytes(), check=True,
                           stdout=subprocess.PIPE).stdout, np.int16)

    return [
        ("rsmpl.resample", np.int16, lambda x: rsmpl.resample(x, RATE, OUT)),
        ("rsmpl.resample, float32", np.float32, lambda x: rsmpl.resample(x, RATE, OUT)),
        ('rsmpl.resample, engine="fir"', np.int16, lambda x: rsmpl.resample(x, RATE, OUT, "fir")),
        ("rsmpl.Stream, blocks of 20 ms", np.int16, blocks),
        ("rsmpl.Resampler, blocks of 20 ms", np.int16, calls),
        ("scipy.signal.resample_poly, float32", np.float32, lambda x: resample_poly(x, 1, 3)),
        ("torchaudio.functional.resample", np.float32, lambda x: torchaudio.functional.resample(
            torch.from_numpy(x), RATE, OUT).numpy()),
        ("sox -t raw - -t raw - rate", np.int16, pipe("-h")),
        ("sox ... rate -l", np.int16, pipe("-l")),
        ("resampy, kaiser_fast", np.float32, lambda x: resampy.resample(
            x, RATE, OUT, filter="kaiser_fast")),
        ("resampy, kaiser_best, its default", np.float32, lambda x: resampy.resample(x, RATE, OUT)),
    ]


def level(call, kind, hertz):
    """Of a tone afterwards, in dB; 16 bits hold nothing below -90."""
    t = np.arange(20 * RATE) / RATE
    x = 30000 * np.sin(2 * np.pi * hertz * t)
    y = call(np.round(x).astype(kind))[OUT : 19 * OUT].astype(float)
    power = 2 * np.mean(y**2) / 30000**2
    return f"{10 * np.log10(power):.1f}".replace("-0.0", "0.0") if power > 1e-9 else "< -90"


def seconds(call, x):
    began = time.perf_counter()
    call(x)
    return time.perf_counter() - began


def table():
    noise = np.random.default_rng(1).normal(0, 3000, RATE * SECONDS).astype(np.int16)
    rows = []
    for name, kind, call in peers():
        x = noise.astype(kind)
        tones = [level(call, kind, hertz) for hertz in (6500, 7000, 8200, 9000)]  # also warms up
        times = [seconds(call, x)]
        while len(times) < 5 and sum(times) < 20:
            times.append(seconds(call, x))
        rows.append((name, min(times), tones))
    print("| | s | times rsmpl's | 6.5 kHz | 7 kHz | 8.2 kHz | 9 kHz |\n|---|---|---|---|---|---|---|")
    for name, least, tones in rows:
        print(f"| {name} | {least:.2f} | {least / rows[0][1]:.1f} | "
              + " | ".join(tones) + " |")


def work(repetitions):
    x = np.random.default_rng(1).normal(0, 3000, RATE * 600).astype(np.int16)
    for _ in range(repetitions):
        rsmpl.resample(x, RATE, OUT)


def threads():
    """One worker, then two, as threads and as processes: what the machine has to give."""
    def run(kind, count):
        workers = [kind(target=work, args=(30,)) for _ in range(count)]
        began = time.perf_counter()
        for worker in workers:
            worker.start()
        for worker in workers:
            worker.join()
        return count / (time.perf_counter() - began)

    for name, kind in ("threads", threading.Thread), ("processes", multiprocessing.Process):
        one, two = max(run(kind, 1) for _ in range(5)), max(run(kind, 2) for _ in range(5))
        print(f"two {name} do {two / one:.2f} times the work of one")


threads() if "--threads" in sys.argv else table()
