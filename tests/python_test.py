"""What the installed package makes of arrays; its docstrings' examples are run beside this file."""
import concurrent.futures, copy, inspect, pathlib, re, subprocess, sys, threading, time
import numpy as np, pytest, rsmpl, scipy.signal as ss

NOISE = np.random.default_rng(1)
RATES = [(48000, 16000), (44100, 16000), (16000, 48000), (48000, 32000), (44100, 48000), (8000, 8000)]
EXAMPLE = pathlib.Path.cwd().parent / "examples" / "2_pipe"  # in the folder of the build

# The 1:3 stage: its gain; A, B and C of four sections.
GAIN = float(np.float32(0.00524580106))
A, B, C = np.float32([[2.64367771, 0.861321449, 0.300504446, 0.148770571],
                      [0.444006026, 0.264215529, 0.110772371, 0.0285160542],
                      [1.21793962, -0.452014118, -0.923235416, -1.04741025]]).astype(float)


def noise(shape, dtype="float32", scale=0.25):
    x = NOISE.uniform(-scale, scale, shape)
    return np.rint(x * np.iinfo(dtype).max).astype(dtype) if dtype[0] == "i" else x.astype(dtype)


def rounded(x, dtype):  # halves away from zero, clipped
    return np.clip(np.trunc(x + np.copysign(0.5, x)), np.iinfo(dtype).min, np.iinfo(dtype).max).astype(dtype)


def in_blocks(stream, x):
    return np.concatenate([stream.process(x[i:i + 960]) for i in range(0, len(x), 960)])


@pytest.mark.parametrize("rates", RATES)
def test_splits_and_whole_signals(rates):
    x, stream, count = noise((19_200, 2)), rsmpl.Stream(*rates, 2), -(-19_200 * rates[1] // rates[0])
    late = in_blocks(stream, np.concatenate([x, 0 * x]))[round(stream.delay):]
    y = rsmpl.resample(x, *rates)
    np.testing.assert_array_equal(y[:-16], late[:count - 16])  # to the bit, but where its calls are shorter
    np.testing.assert_allclose(y, late[:count], atol=1e-6)
    taken, parts = stream.reset() or 0, []
    while taken < len(x):
        parts.append(stream.process(block := x[taken:taken + NOISE.choice([0, 1, 7, 960, 3000])]))
        taken += len(block)
        assert sum(map(len, parts)) == taken // stream.down * stream.up
    split = np.concatenate([*parts, stream.process([], last=True)])
    np.testing.assert_allclose(split, stream.process(x, last=True), atol=1e-6)
    assert len(split) == count and stream.up * rates[0] == stream.down * rates[1]
    impulse = rsmpl.resample(np.eye(1, 18_000, 8820)[0], *rates, "fir")
    assert impulse.argmax() == 8820 * rates[1] // rates[0]


def test_a_stage_is_its_definition_in_double():
    x, sos = noise(48_000), np.stack([A ** 0, C, A ** 0, A ** 0, C - A, 1 - B], 1)
    late = GAIN * ss.sosfilt(sos, x.astype(float))[3::3]  # by 1.44 outputs, of which one is taken out
    np.testing.assert_allclose(rsmpl.resample(x, 48000, 16000)[:-1], late, atol=2e-7 * abs(late).max(), rtol=0)


@pytest.mark.parametrize("rates", RATES[:-1])
@pytest.mark.parametrize("dtype", ["int16", "int32", "float64"])
def test_types_are_floats_rounded(rates, dtype):
    most = float(np.iinfo(dtype).max) if dtype[0] == "i" else 1
    x = (NOISE.choice([-1, 1], (5000, 3)) * most).astype(dtype)
    floats = x.astype("float32")
    stream, live = rsmpl.Stream(*rates, 3, dtype), in_blocks(rsmpl.Stream(*rates, 3), floats).astype(float)
    np.testing.assert_array_equal(in_blocks(stream, x), rounded(live, dtype) if dtype[0] == "i" else live)
    beyond = np.sum((live >= most + 0.5) | (live <= -most - 1.5)) if dtype[0] == "i" else 0
    assert stream.clipped == beyond and (beyond > 0) == (dtype[0] == "i")
    assert stream.reset() is None and stream.clipped == 0


def test_int32_keeps_its_limits():
    stream = rsmpl.Stream(1, 1, dtype="int32")
    x = np.int32([-2**31, 2**31 - 1, 2**31 - 64, 2**31 - 65, 5, -5, 0])
    assert stream.process(x).tolist() == [-2**31, 2**31 - 1, 2**31 - 1, 2**31 - 128, 5, -5, 0]
    assert stream.clipped == 2


LAYOUTS = {"backward": lambda x: x[::-1], "every third": lambda x: x[::3], "fortran": np.asfortranarray,
           "left": lambda x: x[:, 0], "right only": lambda x: x[:, 1:], "one": lambda x: x[:1],
           "swapped bytes": lambda x: x.astype(x.dtype.newbyteorder()), "swapped channels": lambda x: x[:, ::-1],
           "repeated": lambda x: np.broadcast_to(x[:, :1], (5000, 5)), "empty": lambda x: x[:0],
           "packed": lambda x: np.array([(0, v) for v in x[:, 0]], [("", "i1"), ("x", x.dtype)])["x"]}


@pytest.mark.parametrize("layout", LAYOUTS)
@pytest.mark.parametrize("dtype", ["int16", "float32", "float64"])
def test_layouts(layout, dtype):
    x = LAYOUTS[layout](noise((5000, 2), dtype))
    y, plain = rsmpl.resample(x, 44100, 16000), np.array(x.T, x.dtype.newbyteorder("="), order="C", ndmin=2)
    assert y.dtype == x.dtype and y.shape == (-(-len(x) * 160 // 441), *x.shape[1:])
    columns = [rsmpl.resample(channel, 44100, 16000) for channel in plain]
    np.testing.assert_array_equal(np.atleast_2d(y.T), columns)
    np.testing.assert_array_equal(rsmpl.resample(x.T, 44100, 16000, axis=-1), y.T)


class Tensor:  # its dtype is not NumPy's
    dtype = "tensor.int16"

    def __array__(self, dtype=None):
        return np.ones(960, "int16")


def test_what_becomes_an_array():
    np.testing.assert_array_equal(y := rsmpl.resample(Tensor(), 48000, 16000), rsmpl.resample(np.ones(960, "int16"), 48000, 16000))
    assert y.dtype == "int16"


@pytest.mark.parametrize("ratio, block, filtered", [(3, 960, 320), (2, 960, 320), (1, 960, 320), (4, 960, 240),
                                                    (3, 1000, 0), (2, 18, 6), (3, 12, 0), (3, 0, 0)])
def test_a_device_to_the_bit(ratio, block, filtered, capfd):
    x = NOISE.choice(np.int16([-32768, 32767]), (2, 10, block))
    with rsmpl.Resampler(2, 16000 * ratio, 16000, block) as device:
        y = np.array([device.process(x[:, i, :device.frames_in]) for i in range(10)]).swapaxes(0, 1)
    assert y.shape == (2, 10, block // ratio) and not y[:, :, filtered:].any()
    for channel, blocks in zip(y, x) if filtered else ():
        floats = in_blocks(rsmpl.Stream(48000, 16000), np.ravel(blocks).astype("float32"))
        model = floats.astype(int).astype("int16").reshape(10, -1)  # truncates, then wraps
        np.testing.assert_array_equal(channel[:, :filtered], model[:, :filtered])
        if block == 960:
            assert subprocess.check_output([EXAMPLE], input=blocks.tobytes()) == model.tobytes()
    with pytest.raises(ValueError, match="closed"):
        device.process(x[:, 0, :device.frames_in])
    assert device.close() is None and capfd.readouterr() == ("", "")


@pytest.mark.filterwarnings("ignore:'audioop'")
def test_ratecv():
    for weights, smooth in ((), x := noise((9000, 2), "int16")), ((3, 2), ss.lfilter([3.0], [5, -2], x.astype(float), axis=0)):
        made, state = b"", None
        for part in np.split(x, np.sort(NOISE.integers(0, 9001, 9))):
            more, state = rsmpl.ratecv(memoryview(part.tobytes()), 2, 2, 44100, 16000, state, *weights)
            made += more
        assert made == rsmpl.Stream(44100, 16000, 2, "int16").process(rounded(smooth, "int16")).tobytes()
    former, ours = map(inspect.signature, (pytest.importorskip("audioop").ratecv, rsmpl.ratecv))
    assert list(former.parameters) == list(ours.parameters)


@pytest.mark.parametrize("design, passes, stops", [
    (lambda w: rsmpl.lowpass(64, 0.2, w), 0.1, 0.35), (lambda w: rsmpl.highpass(64, 0.3, w), 0.4, 0.15),
    (lambda w: rsmpl.bandpass(64, 0.2, 0.3, w), 0.25, 0.1), (lambda w: rsmpl.bandpass(65, 0.2, 0.3, w), 0.25, 0.4)])
def test_designs(design, passes, stops):
    response = lambda h, f: np.exp(-2j * np.pi * f * np.arange(len(h))) @ h
    bare = design("none")
    assert bare.dtype == "float32" and abs(response(design("hamming"), stops)) < 0.01
    assert response(design("hamming"), passes) == pytest.approx(np.exp(-1j * np.pi * passes * len(bare)), abs=0.01)
    assert response(rsmpl.fractional_delay(64, 30.25), 0.2) == pytest.approx(np.exp(-2j * np.pi * 0.2 * 30.25), abs=0.01)
    for name, window in ("blackman", np.blackman), ("hamming", np.hamming), ("hanning", np.hanning):
        np.testing.assert_allclose(design(name), bare * window(len(bare)), atol=1e-6)


X, LIVE, DEVICE = np.zeros(960, "int16"), rsmpl.Stream(48000, 16000, 2), rsmpl.Resampler(1, 48000, 16000, 1000)
USED = rsmpl.ratecv(bytes(8), 2, 2, 48000, 16000, None)[1]
rsmpl.ratecv(bytes(8), 2, 2, 48000, 16000, USED)
REFUSED = [
    ("reduces to 44101/48000; at most 1024 is served; 48000 to 44100 Hz would", rsmpl.resample, X, 48000, 44101),
    ("no IIR stage for 44100 to 16000 Hz, .* 1/3, .*'fir' serves it", rsmpl.resample, X, 44100, 16000, "iir"),
    ("TypeError: out_rate is a whole number, not 16000.5", rsmpl.Stream, 48000, 16000.5),
    ("axis is 1; -1 to 0 is accepted", rsmpl.resample, X, 48000, 16000, "auto", 1),
    ("960 channels; 1 to 64 are served, or is time along", rsmpl.resample, X[None], 48000, 16000),
    *[(f"TypeError: samples of .* are not served.*{advice}", rsmpl.resample, X.astype(dtype), 48000, 16000)
      for dtype, advice in zip(["uint8", "uint16", "int64", "bool", "float16", "complex64", "U1"],
                               ["'int16'", "'int32'", "'float64'", "'int16'", "'float32'", "x.real", "numbers"])],
    ("TypeError: int16 given to a stream of float32", LIVE.process, X),
    ("shape .* stream of 2 channels", LIVE.process, [1.0]),
    ("44100 is not a multiple of 16000, .* 32000 is", rsmpl.Resampler, 1, 44100, 16000, 960),
    ("\\(1, 999\\) is accepted", DEVICE.process, np.zeros((1, 1000), "int16")),
    ("TypeError: .* array of int16", DEVICE.process, np.zeros((1, 960))),
    ("only 2, samples of 16 bits", rsmpl.ratecv, bytes(8), 4, 1, 48000, 16000, None),
    ("6 bytes are not whole frames of 4", rsmpl.ratecv, bytes(6), 2, 2, 48000, 16000, None),
    ("after 2 frames was gone on from already; the signal is at 4", rsmpl.ratecv, bytes(8), 2, 2, 48000, 16000, USED),
    ("48000 to 16000 Hz, 2 channels", rsmpl.ratecv, bytes(8), 2, 1, 48000, 16000, USED),
    *[("TypeError: state is None, or what", rsmpl.ratecv, bytes(8), 2, 1, 48000, 16000, state) for state in ((), 5, (0, 0))],
    *[("TypeError: .* can't be copied, nor sent", copy.copy, held) for held in (LIVE, DEVICE, USED[0])],
    ("edge is 12000; .* fraction", rsmpl.lowpass, 64, 12000),
    ("edge is 0.49999999999", rsmpl.lowpass, 64, 0.49999999999),
    ("taps is 1048577; 1 to 1048576", rsmpl.lowpass, 2**20 + 1, 0.2),
    ("low has to be below high", rsmpl.bandpass, 64, 0.3, 0.2),
    ("window is 'kaiser'; one of 'none', 'blackman'", rsmpl.highpass, 64, 0.3, "kaiser"),
    ("delay is 64; 0 to taps - 1", rsmpl.fractional_delay, 64, 64)]


@pytest.mark.parametrize("message, call, arguments", [(m, call, rest) for m, call, *rest in REFUSED], ids=str)
def test_errors(message, call, arguments, capfd):
    refused = pytest.raises((TypeError, ValueError), call, *arguments)
    assert re.search(message, f"{refused.typename}: {refused.value}") and capfd.readouterr() == ("", "")


def test_other_threads_run_meanwhile():
    stamps, done, tick = [], threading.Event(), lambda: stamps.append(time.perf_counter()) or done.wait(1e-3)
    clock = threading.Thread(target=lambda: any(iter(tick, None)))
    clock.start()
    began = time.perf_counter()
    rsmpl.resample(np.broadcast_to(np.float32(0), (300_000, 64)), 44100, 16000)
    took = time.perf_counter() - began
    done.set(), clock.join()
    assert sum(0.25 < (stamp - began) / took < 0.75 for stamp in stamps) > 3


def test_threads_share_a_stream():
    stream, sizes = rsmpl.Stream(44100, 16000, 2), [n % 97 for n in range(9000)]
    with concurrent.futures.ThreadPoolExecutor(3) as pool:
        counts = pool.map(lambda n: len(stream.process(np.zeros((n, 2), "float32"))), sizes)
    assert sum(counts) == sum(sizes) // 441 * 160


def test_memory():
    highest = lambda: int(re.search(r"VmHWM:\s+(\d+)", pathlib.Path("/proc/self/status").read_text())[1]) * 1024
    for x in np.ones(24_000_000, "int16"), np.ones(6_000_000):
        pathlib.Path("/proc/self/clear_refs").write_text("5")
        before = highest()
        rsmpl.resample(x, 48000, 16000)
        assert highest() - before < 1.2 * x.nbytes / 3 + 2e6  # the result
    for _ in range(500):
        rsmpl.Stream(44100, 16000), rsmpl.Resampler(1, 48000, 16000, 960)
    assert highest() - before < 4e7


@pytest.mark.parametrize("page", ["README.md", "python/README.md"])
def test_pages(page):
    """They show what works, on a signal, a device and a player of ours."""
    text, played = (pathlib.Path(__file__).parents[1] / page).read_text(), []
    for code in re.findall(r"^```python\n(.*?)^```$", text, re.M | re.S):
        exec(code, given := {"x": noise((60, 60)), "blocks": noise((3, 500, 2), "int16"), "play": played.append})
        assert "rsmpl" in given
    assert page == "README.md" or sum(map(len, played)) == 500
