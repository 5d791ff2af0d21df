"""What the installed package makes of arrays; its docstrings' examples are run beside this file."""
import contextlib, inspect, pathlib, re, subprocess, sys, threading, time
import numpy as np
import pytest
import scipy.signal as ss

import rsmpl

NOISE = np.random.default_rng(1)
RATES = [(48000, 16000), (44100, 16000), (16000, 48000), (48000, 32000), (44100, 48000), (8000, 8000)]
EXAMPLE = pathlib.Path.cwd().parent / "examples" / "downsample"  # in the folder of the build

# The 1:3 stage: gain; A, B, C of each section.
GAIN = np.float32(0.00524580106)
SECTIONS = np.float32([[2.64367771, 0.444006026, 1.21793962], [0.861321449, 0.264215529, -0.452014118],
                       [0.300504446, 0.110772371, -0.923235416], [0.148770571, 0.0285160542, -1.04741025]])


def noise(shape, dtype="float32", scale=0.25):
    x = NOISE.uniform(-scale, scale, shape)
    return np.rint(x * np.iinfo(dtype).max).astype(dtype) if dtype[0] == "i" else x.astype(dtype)


def rounded(x, dtype):
    """Halves away from zero, clipped."""
    x = x.astype(float)
    return np.clip(np.trunc(x + np.copysign(0.5, x)), *(getattr(np.iinfo(dtype), m) for m in ("min", "max")))


def through(stream, x, size):
    blocks = [stream.process(x[i:i + size], i + size >= len(x)) for i in range(0, len(x), size)]
    return np.concatenate(blocks)


@pytest.mark.parametrize("rates", RATES)
def test_counts_and_splits(rates):
    x = noise(20_000, "int16")
    stream = rsmpl.Stream(*rates, dtype="int16")
    whole, taken, parts = stream.process(x, last=True), 0, []
    assert len(whole) == -(-len(x) * stream.up // stream.down) and stream.up * rates[0] == stream.down * rates[1]
    while taken < len(x):
        size = int(NOISE.choice([0, 1, 7, 960, 3000]))
        parts.append(stream.process(x[taken:taken + size]))
        taken = min(taken + size, len(x))
        assert sum(map(len, parts)) == taken // stream.down * stream.up
    np.testing.assert_array_equal(np.concatenate([*parts, stream.process([], last=True)]), whole)


@pytest.mark.parametrize("rates", RATES)
def test_a_whole_signal_is_a_stream_without_its_delay(rates):
    x = noise((20_000, 2), "int16", 1)
    stream = rsmpl.Stream(*rates, 2, "int16")
    y = rsmpl.resample(x, *rates)
    lead = round(stream.delay)
    late = through(stream, np.concatenate([x, np.zeros((960 * 9, 2), "int16")]), 960)
    np.testing.assert_array_equal(y, late[lead:lead + len(y)])
    impulse = rsmpl.resample(np.eye(1, 18_000, 8820)[0], *rates, "fir")
    assert impulse.argmax() == 8820 * rates[1] // rates[0] and len(y) == -(-20_000 * rates[1] // rates[0])


def test_a_stage_is_its_definition_in_double():
    a, b, c = SECTIONS.astype(float).T
    one = np.ones(4)
    sos = np.stack([one, c, one, one, c - a, 1 - b], 1)
    x = noise(48_000)
    exact = float(GAIN) * ss.sosfilt(sos, x.astype(float))[3::3]  # late by 1.44 outputs, of which 1 is taken out
    np.testing.assert_allclose(rsmpl.resample(x, 48000, 16000)[:-1], exact, atol=2e-7 * abs(exact).max(), rtol=0)


@pytest.mark.parametrize("rates", RATES)
@pytest.mark.parametrize("dtype", ["int16", "int32", "float64"])
def test_types_are_floats_rounded(rates, dtype):
    x = NOISE.choice([-1, 1], (5000, 3)) * (float(np.iinfo(dtype).max) if dtype[0] == "i" else 1)
    exact = rsmpl.resample(x.astype("float32"), *rates)
    x = np.minimum(x, 2**31 - 1).astype(dtype)
    y = rsmpl.resample(x, *rates)
    np.testing.assert_array_equal(y, rounded(exact, dtype) if dtype[0] == "i" else exact)
    assert y.dtype == dtype
    if dtype[0] == "i":
        stream = rsmpl.Stream(*rates, 3, dtype)
        live = rsmpl.Stream(*rates, 3).process(x.astype("float32")).astype(float)
        stream.process(x)
        most = np.iinfo(dtype).max
        assert stream.clipped == np.sum((live >= most + 0.5) | (live <= -most - 1.5))
        assert (stream.clipped > 0) == (dtype == "int32" or rates[0] != rates[1])
        assert stream.reset() is None and stream.clipped == 0


def test_int32_keeps_its_limits():
    x = np.int32([-2**31, 2**31 - 1, 2**31 - 64, 2**31 - 65, 5, -5, 0])
    stream = rsmpl.Stream(1, 1, dtype="int32")
    assert stream.process(x).tolist() == [-2**31, 2**31 - 1, 2**31 - 1, 2**31 - 128, 5, -5, 0]
    assert stream.clipped == 2


PACKED = np.zeros(5000, [("", "i1"), ("x", "<i2")])["x"]
PACKED[:] = noise(5000, "int16")
LAYOUTS = {"backward": lambda x: x[::-1], "every third": lambda x: x[::3], "fortran": np.asfortranarray,
           "left": lambda x: x[:, 0], "right only": lambda x: x[:, 1:], "swapped": lambda x: x.astype(x.dtype.newbyteorder()),
           "repeated": lambda x: np.broadcast_to(x[:, :1], (5000, 5)), "packed": lambda x: PACKED,
           "empty": lambda x: x[:0], "one": lambda x: x[:1], "swapped channels": lambda x: x[:, ::-1]}


@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("dtype", ["int16", "float32", "float64"])
def test_layouts(layout, dtype):
    x = LAYOUTS[layout](noise((5000, 2), dtype))
    plain = np.array(x, x.dtype.newbyteorder("="), order="C")
    y = rsmpl.resample(x, 44100, 16000)
    assert y.dtype == x.dtype and y.shape == (-(-len(x) * 160 // 441), *x.shape[1:])
    columns = [rsmpl.resample(column.copy(), 44100, 16000) for column in np.atleast_2d(plain.T)]
    np.testing.assert_array_equal(np.atleast_2d(y.T), columns)
    np.testing.assert_array_equal(rsmpl.resample(x.T, 44100, 16000, axis=-1), y.T)
    stream = rsmpl.Stream(44100, 16000, len(columns), x.dtype)
    np.testing.assert_array_equal(stream.process(x), stream.reset() or stream.process(plain, True)[:len(x) // 441 * 160])


def test_lists_are_float32():
    y = rsmpl.resample([1, 2.5, -3] * 9, 16000, 48000)
    assert y.dtype == "float32" and y.tolist() == rsmpl.resample(np.float32([1, 2.5, -3] * 9), 16000, 48000).tolist()


@pytest.mark.parametrize("ratio, block, filtered", [(3, 960, 320), (2, 960, 320), (1, 960, 320), (4, 960, 240),
                                                    (3, 1000, 0), (2, 18, 6), (3, 12, 0), (3, 0, 0)])
def test_a_device_to_the_bit(ratio, block, filtered, capfd):
    x = NOISE.choice(np.int16([-32768, 32767]), (2, 10, block))
    with rsmpl.Resampler(2, 16000 * ratio, 16000, block) as device:
        y = np.array([device.process(x[:, i, :device.frames_in]) for i in range(10)]).swapaxes(0, 1)
    for channel, blocks in zip(y, x):
        size = block // 3 if filtered else 0
        made = subprocess.run([EXAMPLE], input=blocks.tobytes(), stdout=subprocess.PIPE).stdout if block == 960 else b""
        floats = through(rsmpl.Stream(48000, 16000), np.ravel(blocks).astype("float32"), 960) if size else np.zeros(0)
        model = floats.astype(int).astype("int16").reshape(10, size)
        assert not made or model.tobytes() == made
        np.testing.assert_array_equal(channel[:, :filtered], model[:, :filtered])
        assert not channel[:, filtered:].any()
    with pytest.raises(ValueError, match="closed"):
        device.process(x[:, 0, :device.frames_in])
    assert device.close() is None and capfd.readouterr() == ("", "")


def test_ratecv():
    x = noise((9000, 2), "int16")
    for weights, smooth in ((), x), ((3, 2), ss.lfilter([3.0], [5, -2], x.astype(float), axis=0)):
        parts, state = [], None
        for part in np.split(x, np.sort(NOISE.integers(0, 9001, 9))):
            part, state = rsmpl.ratecv(memoryview(part.tobytes()), 2, 2, 44100, 16000, state, *weights)
            parts.append(part)
        assert b"".join(parts) == rsmpl.Stream(44100, 16000, 2, "int16").process(rounded(smooth, "int16").astype("int16")).tobytes()
    with contextlib.suppress(ImportError):
        import audioop
        names = list(inspect.signature(audioop.ratecv).parameters.values())
        ours = inspect.signature(rsmpl.ratecv).parameters.values()
        assert [(p.name, p.kind, p.default) for p in ours] == [(p.name, p.kind, p.default) for p in names]


@pytest.mark.parametrize("design, passes, stops", [
    (lambda w: rsmpl.lowpass(64, 0.2, w), 0.1, 0.35), (lambda w: rsmpl.highpass(64, 0.3, w), 0.4, 0.15),
    (lambda w: rsmpl.bandpass(64, 0.2, 0.3, w), 0.25, 0.1), (lambda w: rsmpl.bandpass(65, 0.2, 0.3, w), 0.25, 0.4)])
def test_designs(design, passes, stops):
    bare = design("none")
    level = lambda h, f: abs(np.exp(-2j * np.pi * f * np.arange(len(h))) @ h)
    assert level(design("hamming"), passes) == pytest.approx(1, abs=0.01) and level(design("hamming"), stops) < 0.01
    for name, window in ("blackman", np.blackman), ("hamming", np.hamming), ("hanning", np.hanning):
        np.testing.assert_allclose(design(name), bare * window(len(bare)), atol=1e-6)
    assert bare.dtype == "float32" and level(rsmpl.fractional_delay(64, 30.25), 0.2) == pytest.approx(1, abs=0.01)
    assert np.angle(np.exp(2j * np.pi * 0.01 * np.arange(64)) @ rsmpl.fractional_delay(64, 30.25)) == pytest.approx(2 * np.pi * 0.3025, abs=0.01)


X, LIVE = np.zeros(960, "int16"), rsmpl.Stream(48000, 16000, 2)
FRAGMENT, USED = bytes(8), rsmpl.ratecv(bytes(8), 2, 2, 48000, 16000, None)[1]
rsmpl.ratecv(FRAGMENT, 2, 2, 48000, 16000, USED)
REFUSED = [
    ("reduces to 44101/48000; at most 1024 is served; 48000 to 44100 Hz would", lambda: rsmpl.resample(X, 48000, 44101)),
    ("reduces to 16000/48017; at most 1024 is served; 480", lambda: rsmpl.Stream(48017, 16000)),
    ("at most 1024 is served$", lambda: rsmpl.Stream(2000, 1)),
    ("no IIR stage for 44100 to 16000 Hz, .* 1/3, .*'fir' serves it", lambda: rsmpl.resample(X, 44100, 16000, "iir")),
    ("engine is 'best'; one of 'auto', 'iir', 'fir' is", lambda: rsmpl.Stream(48000, 16000, engine="best")),
    ("in_rate is 0; 1 to 2147483647", lambda: rsmpl.Stream(0, 16000)),
    (TypeError, "out_rate is a whole number, not 16000.5", lambda: rsmpl.Stream(48000, 16000.5)),
    ("channels is 65; 1 to 64", lambda: rsmpl.Stream(48000, 16000, 65)),
    ("960 channels; 1 to 64 are served, or is time along", lambda: rsmpl.resample(X[None], 48000, 16000)),
    ("0 dimensions; \\(frames,\\) or", lambda: rsmpl.resample(3, 48000, 16000)),
    ("axis 2", lambda: rsmpl.resample(X, 48000, 16000, axis=2)),
    *[(TypeError, f"samples of .* are not served.*{advice}", lambda dtype=dtype: rsmpl.resample(X.astype(dtype), 48000, 16000))
      for dtype, advice in [("uint8", "'int16'"), ("uint16", "'int32'"), ("int64", "'float64'"), ("bool", "'int16'"),
                            ("float16", "'float32'"), ("longdouble", "'float64'"), ("complex64", "x.real"), ("U1", "numbers")]],
    (TypeError, "int16 given to a stream of float32", lambda: LIVE.process(X)),
    ("shape .* stream of 2 channels", lambda: LIVE.process([1.0])),
    ("44100 is not a multiple of 16000, .* 32000 is", lambda: rsmpl.Resampler(1, 44100, 16000, 960)),
    ("not a multiple of 48000", lambda: rsmpl.Resampler(1, 16000, 48000, 960)),
    ("channels is 17; 1 to 16", lambda: rsmpl.Resampler(17, 48000, 16000, 960)),
    ("block is -1; 0 to", lambda: rsmpl.Resampler(1, 48000, 16000, -1)),
    ("\\(1, 999\\) is accepted", lambda: rsmpl.Resampler(1, 48000, 16000, 1000).process(np.zeros((1, 1000), "int16"))),
    (TypeError, "array of int16", lambda: rsmpl.Resampler(1, 48000, 16000, 960).process(np.zeros((1, 960)))),
    ("only 2, samples of 16 bits", lambda: rsmpl.ratecv(FRAGMENT, 4, 1, 48000, 16000, None)),
    ("7 bytes are not whole frames of 4", lambda: rsmpl.ratecv(bytes(7), 2, 2, 48000, 16000, None)),
    ("after 2 frames was gone on from already; the signal is at 4", lambda: rsmpl.ratecv(FRAGMENT, 2, 2, 48000, 16000, USED)),
    ("48000 to 16000 Hz, 2 channels", lambda: rsmpl.ratecv(FRAGMENT, 2, 1, 48000, 16000, USED)),
    ("weightA is 0; 1 to", lambda: rsmpl.ratecv(FRAGMENT, 2, 2, 48000, 16000, None, 0)),
    ("edge is 12000; .* fraction", lambda: rsmpl.lowpass(64, 12000)),
    ("low has to be below high", lambda: rsmpl.bandpass(64, 0.3, 0.2)),
    ("window is 'kaiser'; one of 'none', 'blackman'", lambda: rsmpl.highpass(64, 0.3, "kaiser")),
    ("delay is 64; 0 to taps - 1", lambda: rsmpl.fractional_delay(64, 64))]


@pytest.mark.parametrize("case", REFUSED, ids=lambda case: case[-2])
def test_errors(case, capfd):
    with pytest.raises(case[0] if len(case) == 3 else ValueError, match=case[-2]):
        case[-1]()
    assert capfd.readouterr() == ("", "")


def test_other_threads_run_meanwhile():
    stamps, done = [], threading.Event()
    clock = threading.Thread(target=lambda: [stamps.append(time.perf_counter()) for _ in iter(lambda: done.wait(1e-3), True)])
    clock.start()
    began = time.perf_counter()
    rsmpl.resample(np.broadcast_to(np.float32(0), (300_000, 64)), 44100, 16000)
    ended = time.perf_counter()
    done.set(), clock.join()
    assert sum(began + (ended - began) / 4 < stamp < ended - (ended - began) / 4 for stamp in stamps) > 3


def test_threads_share_a_stream():
    stream, counts, switch = rsmpl.Stream(44100, 16000, 2), [], sys.getswitchinterval()
    feed = lambda: counts.extend(len(stream.process(noise((n % 97, 2)))) for n in range(3000))
    threads = [threading.Thread(target=feed) for _ in range(3)]
    sys.setswitchinterval(1e-6)
    [t.start() for t in threads], [t.join() for t in threads]
    sys.setswitchinterval(switch)
    assert sum(counts) == 3 * sum(n % 97 for n in range(3000)) // 441 * 160


def test_memory():
    def highest():
        return int(re.search(r"VmHWM:\s+(\d+)", pathlib.Path("/proc/self/status").read_text())[1]) * 1024

    x = np.ones(24_000_000, "int16")
    for signal, limit in (x, 1.2 * x.nbytes / 3), (np.float64(x[:6_000_000]), 1.2 * 8 * 2_000_000):
        pathlib.Path("/proc/self/clear_refs").write_text("5")
        before = highest()
        rsmpl.resample(signal, 48000, 16000)
        assert highest() - before < limit + 2e6
    before = highest()
    for _ in range(500):
        rsmpl.Stream(44100, 16000), rsmpl.Resampler(1, 48000, 16000, 960)
    assert highest() - before < 2e7
