#!/usr/bin/python3
# The rate converter in folder ARGV[1]: played to and recorded from a card made of files by ALSA's own
# programs, and call by call.  It has to give what the stream library, ARGV[2], gives.
import ctypes, math, os, pathlib, re, struct, subprocess, sys, tempfile, unittest
from ctypes import byref, c_char_p, c_int, c_long, c_size_t, c_uint, c_uint64, c_void_p
import numpy as np

PLUGIN_DIR, CONF = os.path.abspath(sys.argv[1]), pathlib.Path(__file__).resolve().parents[1] / "alsa/10-rsmpl.conf"
CANARY, S16, NOISE = 0x5A5A5A5A5A5A5A5A, 2, np.random.default_rng(1)
PLUGIN, STREAM, ALSA = map(ctypes.CDLL, (f"{PLUGIN_DIR}/libasound_module_rate_rsmpl.so", sys.argv[2], "libasound.so.2"))

# Program, its rate, the card's, channels, the program's period, options | converter | what serves it.
RUNS = """\
arecord 16000 48000 1 160      | rsmpl                                 | IIR stage 1:3, 0.09 ms
arecord 16000 48000 1 333      | rsmpl                                 | IIR stage 1:3
arecord 16000 48000 3 341 -M   | rsmpl                                 | IIR stage 1:3
arecord 16000 48000 2 5000 -I  | rsmpl                                 | IIR stage 1:3
arecord 48000 44100 1 480      | [ none rsmpl linear ]                 | FIR filter 160:147, 1.10 ms
arecord 44100 48000 8 441      | { name rsmpl gain -6.5 }              | FIR filter 147:160
aplay 48000 16000 1 480        | { name rsmpl gain 12 }                | IIR stage 1:3
aplay 16000 48000 2 160 -M     | { name rsmpl engine iir gain 0 }      | IIR stage 3:1
aplay 16000 48000 8 1000 -I    | { name rsmpl engine fir }             | FIR filter 3:1, 3.00 ms
aplay 44100 48000 2 1000 -I    | rsmpl                                 | FIR filter 136:125
arecord 16000 48000 8 512 -Drsmpl:card | none                          | IIR stage 1:3"""
ERRORS = """\
aplay 44100 48000 1 1103       | rsmpl                        | no filter of engine "auto" makes 1200 frames at 48000 Hz of 1103 at 44100 Hz; 960 of 882 would be served
aplay 44101 48000 1 1102       | { name rsmpl engine fir }    | no filter .*; 1023 of 940 would be served
arecord 11025 96000 1 1381     | rsmpl                        | no filter .*; 117 of 1018 would be served
aplay 44100 48000 1 441        | { name rsmpl engine iir }    | no filter of engine "iir" .*; these rates have no stage; engine "auto" takes more
aplay 48000 16000 1 1001       | { name rsmpl engine iir }    | no filter of engine "iir" makes 333 frames at 16000 Hz of 1001 at 48000 Hz; 320 of 960 would be served
aplay 48000 16000 1 480        | { name rsmpl engine sinc }   | engine is "auto", "iir" or "fir"
aplay 48000 16000 1 480        | { name rsmpl gain loud }     | gain is a number of decibels from -200 to 200
aplay 48000 16000 1 480        | { name rsmpl gain -201 }     | gain is .*
aplay 48000 16000 1 480        | { name rsmpl quality 10 }    | there is no field "quality", only engine and gain"""


def rows(table):
    for run, converter, wanted in (re.split(r" *\| ?", line, maxsplit=2) for line in table.splitlines()):
        program, *numbers = run.split()
        yield program, *map(int, numbers[:4]), numbers[4:], converter, wanted


# Whole periods of `source` frames become `to`, by the library; with a gain from its floats.  And how
# many samples clip.
def streamed(frames, source, to, engine=0, gain=0.0):
    stream, kind, divisor = c_void_p(), "short" if gain == 0 else "float", math.gcd(source, to)
    assert STREAM.rsmpl_stream_open(byref(stream), frames.shape[1], source // divisor, to // divisor, engine, 0) == 0
    frames = np.ascontiguousarray(frames, "<i2" if gain == 0 else "<f4")
    made = np.zeros((len(frames) // source * to, frames.shape[1]), frames.dtype)
    for i in range(len(frames) // source):
        getattr(STREAM, f"rsmpl_stream_run_{kind}")(stream, c_void_p(frames[i * source:].ctypes.data), c_size_t(source), c_void_p(made[i * to:].ctypes.data))
    made = np.trunc(made * np.float32(10 ** (gain / 20)) + np.copysign(0.5, made))
    return np.clip(made, -32768, 32767), STREAM.rsmpl_stream_clipped(stream)


# What came out of the program or of the card, what went in, and what was said.
def card(program, rate, card_rate, channels, period, options, converter, source, status=0):
    with tempfile.TemporaryDirectory() as root:
        pathlib.Path(root, "conf").write_text(f"""</usr/share/alsa/alsa.conf> <{CONF}>
            pcm.card {{ type file format raw slave.pcm null file {root}/card {f"infile {root}/source" if program == "arecord" else ""} }}
            pcm.test {{ type rate converter {converter} slave {{ pcm card rate {card_rate} }} }}""")
        sides = [f"{root}/side.{c}" for c in range(channels)] if "-I" in options else [f"{root}/side"]
        for side, samples in zip([*sides, f"{root}/source"], [*source.T, source] if "-I" in options else [source] * 2):
            samples.astype("<i2").tofile(side)
        done = subprocess.run(
            [program, *f"-v -Dtest -traw -fS16_LE -r{rate} -c{channels} --period-size={period} --buffer-size={4 * period - 1}".split(), *options,
             *(["-s6400", f"{root}/side"] if program == "arecord" else sides)], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
            env={**os.environ, "ALSA_CONFIG_PATH": f"{root}/conf", "ALSA_PLUGIN_DIR": PLUGIN_DIR}, timeout=60)
        assert done.returncode == status, done.stdout
        mine = np.stack([np.fromfile(side, "<i2") for side in sides], 1).reshape(-1, channels)
        cards = np.fromfile(f"{root}/card", "<i2").reshape(-1, channels) if status == 0 else None
        return (mine[:6400], cards, done.stdout) if program == "arecord" else (cards, mine, done.stdout)


class Programs(unittest.TestCase):
    def test_what_the_page_shows(self):
        page = "\n".join(re.findall("^    (.*)", (CONF.parents[1] / "docs/alsa.md").read_text(), re.M))
        array = re.search(r"pcm\.array \{.*?\n\}", page, re.S)[0].replace("hw:Array", "null")
        default = re.search(r"defaults\.pcm\.rate_converter .*", page)[0]
        command, shown = re.search(r"\$ (arecord -v .*)\n((?:.*\n)*?)\.\.\.", page).groups()
        for conf, device, wanted in [("", "rsmpl:null", shown), (array, "array", "gain -3 dB"),
                                     (default + "\npcm.card { type plug slave { pcm null rate 48000 } }", "card", "Converter: rsmpl,")]:
            with tempfile.TemporaryDirectory() as root:
                pathlib.Path(root, "conf").write_text(f"</usr/share/alsa/alsa.conf> <{CONF}> {conf}")
                said = subprocess.run(command.replace("rsmpl:null", device).split(), cwd=root, capture_output=True, text=True, timeout=60,
                                      env={**os.environ, "ALSA_CONFIG_PATH": f"{root}/conf", "ALSA_PLUGIN_DIR": PLUGIN_DIR})
                self.assertIn(wanted, said.stderr + said.stdout)

    def test_every_sample_is_the_streams(self):
        for row in rows(RUNS):
            with self.subTest(row=row):
                out, source, said = card(*row[:-1], NOISE.integers(-12000, 12000, (30000, row[3])))
                self.assertRegex(said, f"by {row[-1]}")
                periods = list(map(int, re.findall(r"period_size +: (\d+)", said)[:2]))
                engine, gain = 2 if "FIR" in said else 0, float((re.findall(r"gain (\S+)", row[-2]) or [0])[0])
                wanted, _ = streamed(source, *(periods if row[0] == "aplay" else periods[::-1]), engine, gain)
                self.assertGreater(count := min(len(out), len(wanted)), 6000)
                np.testing.assert_array_equal(out[:count], wanted[:count])

    def test_tones_above_the_programs_band_do_not_come_back(self):
        for converter, least, most in ("linear", -0.1, 0.1), ("rsmpl", -300, -58), ("{ name rsmpl engine fir }", -300, -70):
            for tone in 9000, 12000:
                sine = np.round(16384 * np.sin(2 * np.pi * tone / 48000 * (np.arange(96000) + 0.5)))[:, None]
                level = 20 * math.log10(np.std(card("arecord", 16000, 48000, 1, 160, [], converter, sine)[0][3000:]) / 11585 + 1e-9)
                self.assertTrue(least <= level <= most, (tone, converter, level))

    def test_what_is_wrong_is_said(self):
        for row in rows(ERRORS):
            self.assertRegex(said := card(*row[:-1], np.zeros((3000, row[3])), 1)[2], f"rsmpl: {row[-1]}")
            for out, source in re.findall(r"(\d+) of (\d+) would be served", said):
                card(*row[:4], int(source if row[0] == "aplay" else out), *row[5:-1], np.zeros((3000, row[3])))


INIT, FREE, RESET, _, CONVERT, _, INPUTS, OUTPUTS, VERSION, RATES, DUMP, FORMATS = range(1, 13)
# Bytes before the first sample, from frame to frame, and from channel to channel, of C channels and N frames.
LAYOUTS = {"interleaved": lambda c, n: (0, 2 * c, 2), "planar": lambda c, n: (0, 2, 2 * n), "odd": lambda c, n: (3, 2 * c + 5, 2)}


# One converter, as a host of a version holds it.
class Device:
    def __init__(self, *setup, version=0x10003):
        self.obj, self.ops = c_void_p(), (c_uint64 * 16)(*[CANARY] * 16)
        assert PLUGIN._snd_pcm_rate_rsmpl_open(version, byref(self.obj), self.ops) == 0 and self.init(*setup) == 0

    def __call__(self, op, *args, result=None):
        return ctypes.CFUNCTYPE(result, c_void_p, *map(type, args))(self.ops[op])(self.obj, *args)

    def __del__(self):
        self(0)

    def init(self, channels, source, to, form=S16):
        return self(INIT, c_char_p(struct.pack("iILLiILLI4x", form, 3, 0, source, form, 1, 0, to, channels)), result=c_int)

    # The frames from `offset` on; looks after the bytes in between, too.
    def convert(self, frames, count, layouts=("interleaved", "interleaved"), offset=0):
        sides, channels = [], frames.shape[1]
        for length, layout in zip((len(frames) + offset, count + offset), layouts):
            first, step, aside = LAYOUTS[layout](channels, length)
            memory = np.full(first + step * length + aside * channels, 0x55, np.uint8)
            areas = b"".join(struct.pack("LII", memory.ctypes.data, 8 * (first + aside * c), 8 * step) for c in range(channels))
            sides.append((memory, np.ndarray((length, channels), "<i2", memory, first, (step, aside)), c_char_p(areas)))
        (_, source, source_areas), (memory, out, areas) = sides
        source[offset:] = frames
        self(CONVERT, areas, c_size_t(offset), c_uint(count), source_areas, c_size_t(offset), c_uint(len(frames)))
        made, out[offset:] = out[offset:].copy(), 0x5555
        assert (memory == 0x55).all()
        return made

    def dumped(self):
        output, text = c_void_p(), c_void_p()
        ALSA.snd_output_buffer_open(byref(output))
        self(DUMP, output)
        size = ALSA.snd_output_buffer_string(output, byref(text))
        return ctypes.string_at(text, size).decode()


class Calls(unittest.TestCase):
    def test_a_table_gets_what_its_version_knows(self):
        for version, size in (0x10001, 9), (0x10002, 12), (0x10003, 13), (0x10004, 13):
            device = Device(1, 480, 160, version=version)
            self.assertEqual([op != CANARY for op in device.ops], [True] * size + [False] * (16 - size))
            self.assertIn(device.ops[VERSION] % 2**32, (min(version, 0x10003), CANARY % 2**32))
        self.assertEqual([PLUGIN._snd_pcm_rate_rsmpl_open(version, None, None) for version in (0, 0x10000, 0x20001)], [-22] * 3)

    def test_devices_side_by_side_on_areas_of_any_form(self):
        for channels, *periods, offset in (1, 480, 160, 0), (3, 441, 480, 7), (2, 1024, 341, 5), (5, 9000, 27000, 3), (4, 64, 64, 1):
            frames, forms = NOISE.integers(-32768, 32768, (3 * periods[0], channels)), [(a, b) for a in LAYOUTS for b in LAYOUTS]
            (wanted, clipped), devices = streamed(frames, *periods), [Device(channels, *periods) for _ in forms]
            for part, out in zip(np.split(frames, 3), np.split(wanted, 3)):
                for device, form in zip(devices, forms):
                    np.testing.assert_array_equal(device.convert(part, periods[1], form, offset), out, f"{periods} {form}")
            self.assertIn(f" {clipped} samples clipped", devices[0].dumped())

    def test_parts_of_periods_join_behind_silence(self):
        device, frames = Device(2, 480, 160), NOISE.integers(-20000, 20000, (9600, 2))
        for ends, counts, silence in (range(4, 9000, 7), None, 1), ((3, 6, 8196, 8196), (0, 0, 0, 4), 2):
            ends, wanted = [0, *ends], np.vstack([np.zeros((silence, 2)), streamed(frames, 480, 160)[0]])
            counts = counts or [-(-b // 3) - -(-a // 3) for a, b in zip(ends, ends[1:])]
            out = np.vstack([device.convert(frames[a:b], count) for a, b, count in zip(ends, ends[1:], counts)])
            np.testing.assert_allclose(out, wanted[:len(out)], rtol=0, atol=1)
            device(RESET)

    def test_frames_are_counted_to_the_next_whole_one(self):
        for device, source, to in ((Device(1, *p), *p) for p in ((480, 160), (160, 480), (441, 480), (1024, 341), (7, 7))):
            for n in *range(-2000, 2000), 2**40 + 1:
                self.assertEqual([device(op, c_long(n), result=c_long) for op in (OUTPUTS, INPUTS)], [-(-n * to // source), -(-n * source // to)])

    def test_it_is_set_up_and_reset_and_says_what_it_takes(self):
        device, limits = Device(1, 480, 160), (c_uint * 5)(*[7] * 5)
        for refused in (1, 480, 160, 10), (0, 480, 160), (65, 480, 160), (1, 0, 0), (1, 480, 0), (1, 1025, 1024):
            self.assertEqual((device.init(*refused), device.dumped()), (-22, 'Converter: rsmpl, engine "auto", gain 0 dB\n'))
        for periods in (480, 160), (441, 480), (64, 64):
            self.assertEqual((device(FREE), device.init(1, *periods)), (None, 0))
            frames = NOISE.integers(-32768, 32768, (periods[0], 1))
            for _ in range(2):
                np.testing.assert_array_equal(device.convert(frames, periods[1]), streamed(frames, *periods)[0])
                device.convert(frames[1:], periods[1] // 2)
                device(RESET)
            self.assertIn(" 0 samples clipped", device.dumped())
        at = [c_void_p(ctypes.addressof(limits) + 8 * i) for i in range(3)]
        results = device(FORMATS, *at, result=c_int), *limits, device(RATES, *at[:2], result=c_int), limits[0], limits[2]
        self.assertEqual(results, (0, 1 << S16, 0, 1 << S16, 0, 0, 0, 0, 0))


unittest.main(argv=sys.argv[:1])
