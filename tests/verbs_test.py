#!/usr/bin/python3
# The command's verbs beside definitions in double precision: verbs_test.py RSMPL.
import csv, json, pathlib, re, subprocess, sys
import numpy as np

f32, margins = np.float32, []
ROOT, RSMPL = pathlib.Path(__file__).resolve().parents[1], sys.argv[1]
DESIGNS = {int(n): np.array(re.findall(r"(-?[\d.]+)F", text), f32).astype(float) for n, text in re.findall(
    r"kDesign(\d) = \{(.*?)\};", (ROOT / "kernels/Resample_Designs_internal.h").read_text(), re.S)}
RATIOS = [(2, 3), (1, 2), (1, 3), (1, 4), (1, 6), (3, 2), (2, 1), (3, 1), (4, 1), (6, 1)]
WINDOWS = {"blackman": (.42, .5, .08), "hamming": (.54, .46, 0), "hanning": (.5, .5, 0), "none": (1, 0, 0)}


def rsmpl(*words):
    return subprocess.run([RSMPL, *words], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def noise(count, bits):
    state = [1]
    for _ in range(count):
        state.append((state[-1] * 1664525 + 1013904223) % 2**32)
    return (np.array(state[1:]) >> (32 - bits)) - 2 ** (bits - 1)


def checksum(parts):
    value = 2166136261
    for byte in b"".join(np.ascontiguousarray(part).tobytes() for part in parts):
        value = (value ^ byte) * 16777619 % 2**32
    return f"{value:08x}"


def shorts(values, half=0.5):
    return np.clip(np.sign(values) * np.floor(np.abs(values) + half), -32768, 32767).astype(np.int16)


# Where the last bits of a float may differ; how near to a half the values come is kept.
def rounded(values, scale=1):
    margins.append(np.min(np.abs(np.abs(values * scale) % 1 - 0.5)))
    return shorts(values * scale)


# y[j] = L G w[M j]; the memory is rounded to float at the end of a block.
def stage(up, down, samples, block):
    table, memory, out = DESIGNS[max(up, down)], np.zeros((4, 2)), []
    for step in range(len(samples) * up):
        w = float(samples[step // up]) if step % up == 0 else 0.0
        for (a, b, c), pq in zip(table[1:].reshape(4, 3).tolist(), memory):
            p, q = pq.tolist()
            w += a * p + b * q
            pq[:] = w - (c * p + q), p
        if step % down == 0:
            out.append(f32(float(f32(up * table[0])) * w))
        if (step + 1) % (block * up) == 0:
            memory = memory.astype(f32).astype(float)
    return np.array(out, float)


# Multiply-adds in the order of the taps, each rounded once to float.
def fir(taps, samples, up=1, down=1):
    stuffed = np.zeros(len(samples) * up, np.longdouble)
    stuffed[::up] = samples
    sums = np.zeros(len(stuffed), f32)
    for j, tap in enumerate(taps.astype(np.longdouble)):
        sums[j:] = (sums[j:] + tap * stuffed[: len(stuffed) - j]).astype(f32)
    return sums[::down]


def window(kind, count):
    a, b, c = WINDOWS[kind]
    turn = 2 * np.pi * np.arange(count) / (count - 1)
    return a - b * np.cos(turn) + c * np.cos(2 * turn)


# An impulse in the middle, turned by a part of a sample, its bins weighted by what the edges leave of
# them, windowed, and moved from tap L / 2 to the whole part of the centre.
def design(count, kind, low=0, high=1, centre=None):
    size, centre = 1 << (count - 1).bit_length(), count / 2 if centre is None else centre
    k, moved = np.arange(size // 2 + 1), int(centre) - count // 2
    bins = np.exp(-2j * np.pi * k / size * (count // 2 + centre % 1))
    bins *= np.clip(k + 0.5 - float(f32(low)) * size, 0, 1) if low else 1
    bins *= np.clip(float(f32(high)) * size - k + 0.5, 0, 1)
    bins[-1] = bins[-1].real
    taps = np.fft.irfft(bins, size)[:count] * window(kind, count)
    return np.pad(taps, (max(moved, 0), max(-moved, 0)))[max(-moved, 0) :][:count]


def general_resampler():
    stuffed, taps = np.zeros(240), 2 * design(96, "hamming", high=f32(0.45) / f32(3))
    for direction in (1, -1):
        stuffed[::2] = noise(120, 8)[::direction]
        yield rounded(np.convolve(stuffed, taps)[:240:3])


def complex_numbers():
    for re_a, im_a, re_b, im_b in noise(200, 6).reshape(-1, 4).tolist():
        a, b = complex(re_a, im_a), complex(re_b, im_b + 0.5)
        for z in (a * b, a / b, a / b, b**0.5, a.conjugate() - b, complex(abs(a), abs(b) ** 2)):
            yield rounded(np.array([z.real, z.imag]), 16)


def sample_formats():
    samples = noise(203, 16)
    wide = np.sign(samples) * (np.abs(samples) * 65536 // 5) * 6
    yield (samples / 8).astype(f32)
    yield from (shorts(samples / 8 * scale, half) for half in (0, 0.5) for scale in (16, 1 / 2, 1 / 4))
    yield samples * 65536
    yield shorts(wide >> 16)
    yield shorts((wide + np.where(wide < 0, -32768, 32768)) >> 16)
    yield samples[:202:2] * 65536


def three_calls():
    planar = noise(3840, 16).reshape(2, 2, 960)  # block, channel
    rows = np.stack([stage(1, 3, planar[:, c].ravel(), 960) for c in (0, 1)])
    assert np.abs(rows).max() > 32768
    return rows.reshape(2, 2, 320).swapaxes(0, 1).astype(int).astype(np.int16)


# Both channels from where the filter's delay is over, their end completed by silence.
def aligned(filtered, bits, skip, count):
    rows = noise(2002, bits).reshape(-1, 2).T
    return np.stack([filtered(np.pad(row, (0, 400)))[skip : skip + count] for row in rows], 1)


# 48 periods of the lower rate to either side of the centre.
FIR_TAPS = design(2 * 48 * 441 + 1, "blackman", high=f32(0.93) / 2 / f32(441), centre=48 * 441)


def fir_160_441(row):
    parts = [160 * FIR_TAPS[441 * n % 160 : 441 * n + 1 : 160] for n in range(412)]
    newest = (441 * n // 160 for n in range(412))
    return np.array([part @ row[k - len(part) + 1 : k + 1][::-1] for k, part in zip(newest, parts)])


BINS = np.fft.rfft(noise(64, 8))
FAMILIES = {
    "ten stages": (shorts(stage(up, down, noise(480, 15), 240 if up < down else 160))
                   for pair in zip(RATIOS[:5], RATIOS[5:]) for up, down in pair),
    "FIR filters": [fir(noise(37, 16) / 2**15, noise(600, 16))] * 2,
    "multirate FIR": (fir(noise(64, 16) / 2**15, noise(700, 16)[: 100 * down], up, down)
                      for up, down in [(1, 3), (3, 1), (2, 3), (5, 7)]),
    "windows": (rounded(window(kind, 50), 2**11) for kind in list(WINDOWS)[:3]),
    "filter designs": (rounded(design(50, *band), 2**11) for band in [
        ("hamming", 0, 0.15), ("hanning", 0.15), ("blackman", 0.1, 0.3), ("none", 0, 1, 20.25)]),
    "general resampler": general_resampler(),
    "Fourier transform": (rounded(BINS.view(float)), rounded(np.abs(BINS)), shorts(noise(64, 8))),
    "complex numbers": complex_numbers(),
    "sample formats": sample_formats(),
    "three calls": [three_calls()],
    "stream, IIR": [shorts(aligned(lambda row: stage(3, 2, row, 500), 16, 2, 1502))],
    "stream, FIR": [rounded(aligned(fir_160_441, 7, 48, 364))]}
report = rsmpl("selftest")
for family, parts in FAMILIES.items():
    expected = checksum(parts)
    assert f"{family:18} {expected}  ok\n" in report.stdout, f"{family}, {expected} expected:\n{report}"
assert report.returncode == 0 and min(margins) > 1 / 2000, min(margins)


# The transfer function as the header has it, without L.
def stage_at(up, down, frequency):
    d, table = np.exp(-2j * np.pi * frequency), DESIGNS[max(up, down)]
    sections = ((1 + c * d + d * d) / (1 - (a - c) * d - (b - 1) * d * d) for a, b, c in table[1:].reshape(4, 3))
    return table[0] * np.prod(list(sections), 0)


def taps_at(taps, frequency):
    return np.array([np.sum(taps * np.exp(-2j * np.pi * np.arange(len(taps)) * f)) for f in frequency])


def delay_at(response, frequency, step=1e-7):
    turn = np.angle(response(frequency + step) / response(frequency - step))
    return -turn / (4 * np.pi * step)


def check_response(words, response, to, rate=None):
    rows = list(csv.reader(rsmpl("response", *words).stdout.splitlines()))[1:]
    frequency, magnitude, phase, delay = np.array(rows, float).T
    frequency, delay = frequency / (rate or 1), delay * (rate / 1000 if rate else 1)
    gain = response(frequency)
    heard = np.abs(gain) > 0.003
    exact_delay = delay_at(response, frequency)[heard]
    assert np.allclose(frequency, np.linspace(0, to, len(rows))), words
    assert np.allclose(10 ** (magnitude / 20), np.abs(gain), atol=1e-6), words
    assert np.allclose(np.exp(1j * phase)[heard], (gain / np.abs(gain))[heard], atol=1e-3), words
    assert np.allclose(delay[heard], exact_delay, rtol=1e-3), words
    assert np.abs(np.diff(phase)).max() < np.pi + 2 * np.pi * frequency[1] * exact_delay.max(), words


check_response(["1:3"], lambda f: stage_at(1, 3, f), 1 / 3)
check_response(["3:2", "--points", "200", "--to", "0.5"], lambda f: stage_at(3, 2, f), 0.5)
check_response(["--lowpass", "64,0.2,hamming"], lambda f: taps_at(design(64, "hamming", 0, 0.2), f), 0.5)
check_response(["--highpass", "65,0.2,none"], lambda f: taps_at(design(65, "none", 0.2), f), 0.5)
check_response(["--bandpass", "64,0.1,0.2,blackman", "--rate", "8000"],
               lambda f: taps_at(design(64, "blackman", 0.1, 0.2), f), 0.5, 8000)
check_response(["160:441", "--rate", "44100", "--points", "50"], lambda f: taps_at(FIR_TAPS, f), 1 / 441, 7056000)


# What `info` says of a stage, from its transfer function and its impulse response.
def check_stage(row):
    up, down, nyquist = row["L"], row["M"], 1 / (2 * max(row["L"], row["M"]))
    curve = 20 * np.log10(np.abs(stage_at(up, down, nyquist * np.arange(0, 2, 1e-4))))
    edge = nyquist * np.flatnonzero(curve[:10000] > -1)[-1] / 10000
    delays = delay_at(lambda f: stage_at(up, down, f), np.array([0, edge])) / down
    impulse = np.abs(stage(max(up, down), 1, [1] + [0] * 500, 501)) * up / max(up, down)
    hertz, safe = row["in_rate"] * up, -20 * np.log10(max(impulse[n::up].sum() for n in range(up)))
    for key, exact, tolerance in [
            ("gain_db", curve[0], 1e-4), ("ripple_db", -curve[:8750].min(), 1e-3), ("taps", 0, 0),
            ("rejection_db", -curve[10000:].max(), 0.02), ("flat_hz", 0.875 * nyquist * hertz, 1e-6),
            ("edge_hz", edge * hertz, 2), ("delay_samples", delays[0], 1e-3), ("safe_db", safe, 1e-3),
            ("edge_delay_samples", delays[1], 0.01 * delays[1]),
            ("delay_ms", 1000 * delays[0] / row["out_rate"], 1e-3)]:
        assert abs(row[key] - exact) <= tolerance, (up, down, key, row[key], exact)
    assert row["engine"] == "iir" and row["ns_per_sample"] > 0


told = json.loads(rsmpl("info", "--json", "48000").stdout)
assert [(row["L"], row["M"]) for row in told["stages"]] == RATIOS
for row in told["stages"] + told["conversion"][:1]:
    check_stage(row)
fir_row = told["conversion"][1]
assert fir_row["taps"] == 289 and abs(fir_row["delay_samples"] - 48) < 1e-4 and fir_row["rejection_db"] > 69
assert "1:3, served by iir, or" in rsmpl("info", "48000").stdout

CASES = [  # words, exit status, what is said
    ("info 16000", 0, "copied"), ("info", 0, r"\n1:3 .* -10\.1 "), ("info -r 48000 44100", 0, "160:147, served by fir"),
    ("info 44101", 1, "16000:44101, and neither number may exceed 1024; 44100 to 16000 Hz would be"),
    ("info 0", 1, "from 1 Hz up"), ("info no-file", 1, "no-file: No such file"),
    (f"info {ROOT}/fuzz/seeds/command/44.wav", 0, "\n44100 to 16000 Hz"), ("info -r x", 2, "rate"),
    ("response", 2, "one of"), ("response 1:2 --lowpass 4,0.1,none", 2, "one of"), ("response 1:1025", 2, "1024"),
    ("response 0:1", 2, "L:M"), ("response 1:3x", 2, "L:M"), ("response 5:7 --engine iir", 1, "stage"),
    ("response --lowpass 64,0.5,none", 2, "between 0 and 0.5"), ("response --highpass 64,0.1,square", 2, "window"),
    ("response --bandpass 64,0.1,none", 2, "LOW,HIGH"), ("response 1:2 --points 0", 2, "points"),
    ("response --bandpass 64,0.2,0.1,none", 2, "rising"), ("response 1:2 --to nan", 2, "above 0"), ("info -r 0", 2, "rate")]
for words, status, text in CASES:
    done = rsmpl(*words.split())
    assert done.returncode == status and re.search(text, done.stdout + done.stderr), (words, done)
    assert status == 0 or re.fullmatch("rsmpl: .*\n", done.stderr) and not done.stdout, (words, done)
for script, status, text in [
        ("selftest >/dev/full", 1, b"No space"), ("info --json >/dev/full", 1, b"No space"), ("response 1:2 >/dev/full", 1, b"No space"),
        ("response 1:2 --points 9999 | :", 0, b"^$"), ("info --json >&-", 1, b"Bad file")]:
    done = subprocess.run(f"trap '' PIPE; {RSMPL} {script}", shell=True, stderr=subprocess.PIPE)
    assert done.returncode == status and re.search(text, done.stderr), (script, done)

# The same options in --help, in the man page and from bash's completion.
MANUAL = re.split(r"^\.S[SH] (?=\"rsmpl|VERBS)", (ROOT / "docs/man/rsmpl.1.in").read_text().replace("\\-", "-"), flags=re.M)
COMPLETE = """. {}; COMP_LINE='rsmpl {verb} -' COMP_WORDS=(rsmpl {verb} -)
COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1)) COMP_POINT=${{#COMP_LINE}}; _rsmpl {} -; echo ${{COMPREPLY[@]}}"""
for verb in ("", "info", "response", "selftest"):
    help_text = rsmpl(*verb.split(), "--help").stdout
    listed = set(re.findall(r"^  (?:-\w,)?(--[\w-]+)", help_text, re.M)) - {"--help", "--help-all"}
    manual = next(part for part in MANUAL if part.startswith(f'"rsmpl {verb}') or not verb)
    printed = set(re.findall(r"--[\w-]+", "".join(re.findall(r"^\.[BT].*", manual, re.M)))) - {"--help"}
    script = COMPLETE.format(ROOT / "cli/rsmpl.bash", RSMPL, verb=verb)
    completed = subprocess.run(["bash", "-c", script], stdout=subprocess.PIPE, text=True).stdout.split()
    assert listed == printed, (verb, listed ^ printed)
    assert listed == {word for word in completed if word[:2] == "--"} - {"--help"}, (verb, completed)
