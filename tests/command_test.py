#!/usr/bin/python3
"""Runs the command, the first argument, as a user would, and the example of the second on raw
samples."""
import glob, json, os, pathlib, pty, signal, struct, subprocess, sys, tempfile, termios, time, unittest

# Root without what makes root pass all permissions.
if os.geteuid() == 0 and sys.argv[-1] != "bound":
    os.execvp("setpriv", ["setpriv", "--bounding-set=-dac_override,-dac_read_search",
                          sys.executable, *sys.argv, "bound"])

import numpy as np
import soundfile as sf

RSMPL, INTERLEAVED = map(os.path.abspath, sys.argv[1:3])
NOISE = np.random.default_rng(1)

# Exit status, message, arguments.
ERRORS = r"""
1 | no.wav: No such file or directory                 | no.wav o.wav
1 | new\\nline\\x1b: No such file or directory        | new\nline\e o.wav
1 | text.wav: not a readable audio file: .*           | text.wav o.wav
1 | bad.mp3: not a readable audio file                | bad.mp3 o.wav
1 | empty.wav: the file is empty                      | empty.wav o.wav
1 | none.wav: the file holds no audio                 | none.wav o.wav
1 | none.au: the file holds no audio                  | none.au o.wav
1 | zero.wav: the sample rate is 0 Hz                 | zero.wav o.wav
1 | negative.wav: the sample rate is 4294967291 Hz    | negative.wav o.wav
1 | 4g.wav: the sample rate is 4000000000 Hz          | 4g.wav o.wav
1 | prime.wav: 48017 to 16000 Hz is 16000:48017, and neither number may exceed 1024; 480.. to 16000 Hz would be served | prime.wav o.wav
1 | in.wav: 48000 to 44101 Hz is 44101:48000, and neither .*; 48000 to 44100 Hz would be served | --engine iir -r 44101 in.wav o.wav
1 | 0.wav: there are 0 channels; 1 to 16 are accepted | 0.wav o.wav
1 | 17.wav: there are 17 channels; 1 to 16 are .*     | 17.wav o.wav
1 | dir: Is a directory                               | dir o.wav
1 | dir: Is a directory                               | in.wav dir
1 | secret.wav: Permission denied                     | secret.wav o.wav
1 | fixed.wav: Permission denied                      | in.wav fixed.wav
1 | closed/o.wav: Permission denied                   | in.wav closed/o.wav
1 | no/o.wav: its folder does not exist; create it first  | in.wav no/o.wav
1 | in.wav: output and input are the same file        | in.wav in.wav
1 | link.wav: output and input are the same file      | in.wav link.wav
1 | hard.wav: output and input are the same file      | in.wav hard.wav
1 | dangling.wav: a symbolic link that leads nowhere  | in.wav dangling.wav
1 | full: .*                                          | --format wav in.wav full
1 | fifo.wav: WAV can't be written into a pipe; .*    | in.wav fifo.wav
1 | full: No space left on device                     | --format raw in.wav full
1 | o.mp3: no format is known by this suffix; .*      | in.wav o.mp3
1 | o.flac: FLAC holds no floats; .*                  | --bits float in.wav o.flac
1 | o.flac: FLAC holds 1 to 8 channels; .*            | 16.wav o.flac
1 | o.au: more than the 4 GiB that AU can hold; .*    | -r 48000 huge.wav o.au
1 | o.aiff: more than the 4 GiB that AIFF can hold; .*  | -r 96000 huge.wav o.aiff
1 | 44.wav: no stage serves 44100 to 16000 Hz; .*     | --engine iir 44.wav o.wav
1 | 44.wav: a device converts 3 to 1 only, .*         | --engine device 44.wav o.wav
1 | standard output: FLAC can't be written into a pipe; .* | --format flac in.wav -
1 | no: no such folder; create it first               | --out-dir no in.wav
1 | in.wav: Not a directory                           | --out-dir in.wav 16.wav
1 | ./in.wav: this output is an input, too            | --out-dir . in.wav 44.wav
1 | in.flac: would be written to dir/in.wav, and so would in.wav | --out-dir dir in.wav in.flac
1 | in.wav: lies outside of .*sub, which --root names | --root sub --out-dir dir in.wav
1 | standard input: can't be one of many files        | --out-dir dir -
2 | IN is required; see rsmpl --help                  |
2 | OUT is required; see rsmpl --help                 | in.wav
2 | more than IN and OUT; .*                          | in.wav o.wav p
2 | .*-dash.wav; a file name that starts with - goes behind --; .* | -dash.wav o.wav
2 | .*--loud.*                                        | --loud in.wav o.wav
2 | --engine: foo is not one of auto, iir, fir, device; .*  | --engine foo in.wav o.wav
2 | .*--out-dir.*                                     | -j 2 in.wav o.wav
2 | --gain: nan is not between -200 and 200; .*       | --gain nan in.wav o.wav
2 | --raw: .*                                         | --raw 48000 in.wav o.wav
2 | --raw: .*                                         | --raw 0,1 in.wav o.wav
2 | --raw: .*                                         | --raw 8000,17 in.wav o.wav
2 | --raw: .*                                         | --raw 8000,1x in.wav o.wav
"""


def run(*args, stdin=b"", **options):
    done = subprocess.run([RSMPL, *map(str, args)], input=stdin, stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, timeout=60, **options)
    return done.returncode, done.stdout, done.stderr.decode(errors="surrogateescape")


def good(*args, **options):
    """Standard output of a run that has to succeed without a word on standard error."""
    status, out, err = run(*args, **options)
    assert (status, err) == (0, ""), (args, status, err)
    return out


def told(*args):
    return json.loads(good("--json", *args))


def handled(number, default):
    return lambda: signal.signal(number, signal.SIG_DFL if default else signal.SIG_IGN)


def shorts(frames, channels=1, peak=8000):
    return NOISE.integers(-peak, peak, (frames, channels), dtype=np.int16)


def burst(rate, hz):
    """Half a second of a tone under a bell, which is the same sound at any rate."""
    t = np.arange(rate // 2) / rate - 0.25
    return np.exp(-(20 * t) ** 2) * np.exp(2j * np.pi * hz * t)


def compare(samples, rate, hz):
    """The level of a burst in dB, less 0.1 when it is off by a Hz; by how many frames it is late."""
    ideal = burst(rate, hz)[:len(samples)]
    product = np.vdot(ideal, 2j * samples) / np.vdot(ideal, ideal)
    period, late = rate / hz, -np.angle(product) / (2 * np.pi * hz) * rate
    centre = np.average(np.arange(len(samples)), weights=samples ** 2) - rate / 4
    return 20 * np.log10(abs(product)), late + period * np.round((centre - late) / period)


def header(size, kind="wav", channels=1, rate=48000, coding=1, bits=16, riff=None):
    """Of a file that holds, or seems to hold, so many bytes of samples."""
    if kind == "au":
        return struct.pack(">4sIIIiI", b".snd", 24, size, coding, rate, channels)
    block = channels * bits // 8
    whole = min(size + 36, 0xFFFFFFFF) if riff is None else riff
    return struct.pack("<4sI4s4sIHHiIHH4sI", b"RIFF", whole, b"WAVE", b"fmt ", 16, coding, channels,
                       rate, 0, block, bits, b"data", size)


def chunks(path):
    data, at, found = read(path), 12, {}
    while at + 8 <= len(data):
        name, size = struct.unpack_from("<4sI", data, at)
        found[name] = data[at + 8:at + 8 + size]
        at += 8 + size + size % 2
    return found


def chunk(name, data):
    return struct.pack("<4sI", name, len(data)) + data


def write(name, *parts):
    pathlib.Path(name).write_bytes(b"".join(parts))


def read(name):
    return pathlib.Path(name).read_bytes()


class Command(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(scratch.name)

    def test_tones_stay_what_and_where_they_are(self):
        for rates, engine, level, late, options in (
                ((48000, 16000), "iir", 0.5, 0.6, []),
                ((16000, 48000), "iir", 0.5, 0.6, []),
                ((48000, 32000), "iir", 0.5, 0.6, ["--engine", "iir"]),
                ((48000, 8000), "iir", 0.5, 0.6, []),
                ((48000, 16000), "fir", 0.05, 0.01, ["--engine", "fir"]),
                ((44100, 16000), "fir", 0.05, 0.01, []),
                ((44100, 48000), "fir", 0.05, 0.01, []),
                ((8000, 44100), "fir", 0.05, 0.01, []),
                ((16000, 16000), "copy", 0.001, 0.001, [])):
            hz, rate = min(rates) / 20, rates[1]
            sf.write("in.wav", burst(rates[0], hz).imag / 2, rates[0], "FLOAT")
            line = told("-r", rate, "--bits", "float", *options, "in.wav", "out.wav")
            out, out_rate = sf.read("out.wav")
            self.assertEqual((line["engine"], line["frames_out"], out_rate, len(out)),
                             (engine, rate // 2, rate, rate // 2))
            db, frames = compare(2 * out, rate, hz)
            self.assertTrue(-level <= db <= 0.01 and abs(frames) < late, (rates, db, frames))
            self.assertAlmostEqual(line["peak"], np.abs(out).max(), 6)
            told("-r", rate, "--bits", "float", "--no-align", *options, "in.wav", "out.wav")
            delayed = compare(2 * sf.read("out.wav")[0], rate, hz)[1]
            self.assertAlmostEqual(delayed, line["delay_samples"], delta=0.02)
            self.assertAlmostEqual(line["delay_ms"], line["delay_samples"] * 1000 / rate)

    def test_down_and_up_again(self):
        for engine in "iir", "fir":
            sf.write("in.wav", burst(48000, 1000).imag / 2, 48000)
            good("--engine", engine, "in.wav", "down.wav")
            good("--engine", engine, "-r", 48000, "down.wav", "up.wav")
            db, frames = compare(2 * sf.read("up.wav")[0], 48000, 1000)
            self.assertTrue(abs(db) < 0.6 and abs(frames) < 3, (db, frames))

    def test_recordings_keep_what_is_below_6_khz(self):
        os.mkdir("down"), os.mkdir("up")
        sounds = glob.glob("/usr/share/sounds/alsa/*_*.wav")  # speech at 48 kHz
        good("--engine", "fir", "--out-dir", "down", *sounds)
        good("--engine", "fir", "-r", 48000, "--out-dir", "up", *glob.glob("down/*"))
        self.assertTrue(sounds)
        for sound in sounds:
            before, after = sf.read(sound)[0], sf.read("up/" + os.path.basename(sound))[0]
            spectra = [np.fft.rfft(part[:len(before)])[:len(before) // 8] for part in (before, after)]
            self.assertLess(np.abs(spectra[0] - spectra[1]).sum(), 0.01 * np.abs(spectra[0]).sum())

    def test_device_is_the_three_calls(self):
        for frames in 1, 17, 960, 961, 1919, 5000:
            sf.write("in.wav", shorts(frames, 2), 48000)
            samples = chunks("in.wav")[b"data"]
            line = good("--engine", "device", "in.wav", "out.wav").decode()
            self.assertEqual(line, f"frames in {frames} at 48000 Hz, frames out {-(frames // -3)} at "
                             "16000 Hz, channels 2, device 1:3, samples wrapped around 0\n")
            calls = subprocess.run([INTERLEAVED], input=samples, capture_output=True).stdout
            self.assertEqual(chunks("out.wav")[b"data"], calls)
            good("--raw", "48000,2", "--engine", "device", "-", "out.wav", stdin=samples)
            self.assertEqual(chunks("out.wav")[b"data"], calls)

    def test_device_wraps_and_says_what_is_safe(self):
        # Steps, which overshoot by 1.16845648: an output from 32768 on, or from -32769 down, counts.
        # The advice leaves 4 units for rounding; what clipped on its way in wants the worst case.
        for step, answer in (
                (0x6d8b, ", samples wrapped around 0"),
                (0x6d8c, ", samples wrapped around 1: turn the input down, 0.1 dB is safe"),
                (0x6ecd, ", samples wrapped around 1: turn the input down, 0.2 dB is safe"),
                (-0x6d8c, ", samples wrapped around 0"),
                (-0x6d8d, ", samples wrapped around 1: turn the input down, 0.1 dB is safe"),
                (0x8000, ", input samples clipped 480, .*: turn the input down, 10.1 dB is safe"),
                (0x80000, ", input samples clipped 480, .*: turn the input down, 34.2 dB is safe")):
            sf.write("in.wav", np.tile([0, step / 32768], (480, 1)), 48000, "FLOAT")
            line = good("--engine", "device", "in.wav", "out.wav").decode()
            self.assertRegex(line, answer + "\n")

    def test_samples_are_rounded_clipped_and_counted(self):
        steps = np.array([0.5, 1.5, -2.5, 32766.75, 32767.75, -32768.5, -40000, 1e9, 0.25])
        sf.write("in.wav", np.stack([steps, steps / 4, 0 * steps], 1) / 32768, 16000, "FLOAT")
        for bits, unit, clipped, down in (("16", 1, [4, 1, 0], 89.7), ("24", 256, [3, 1, 0], 89.7),
                                          ("float", 0, [0, 0, 0], 0)):
            rounded = np.trunc(steps * unit + np.copysign(0.5, steps))
            kept = np.clip(rounded, -32768 * unit, 32768 * unit - 1) / unit if unit else steps
            for name in "o.wav", "o.aiff", "o.au", *["o.flac"] * (bits != "float"):
                line = told("--bits", bits, "in.wav", name)
                self.assertEqual((line["clipped"], line["turn_down_db"]), (clipped, down))
                np.testing.assert_array_equal(sf.read(name)[0][:, 0] * 32768, np.float32(kept))
        self.assertIn(b"samples clipped 5 (4, 1, 0): turn the input down, 89.7 dB", good("in.wav", "o.wav"))

    def test_gain(self):
        for engine in "auto", "fir", "device":
            for peak, options, gain in (
                    (0.05, ["--gain", 6], 6), (0.05, ["--gain", -6], -6), (0.05, ["--safe"], 0),
                    (3, ["--safe"], None), (0.5, ["--safe", "--gain", 20], None)):
                sf.write("in.wav", peak * NOISE.uniform(-1, 1, 9000), 48000, "FLOAT")
                line = told("--engine", engine, *options, "in.wav", "out.wav")
                plain = engine if engine == "fir" else "iir"
                good("--engine", plain, "--bits", "float", "in.wav", "plain.wav")
                peaks = [np.abs(sf.read(name)[0]).max() for name in ("plain.wav", "out.wav")]
                turned = 20 * np.log10(peaks[1] / peaks[0])
                self.assertAlmostEqual(line["gain_db"], turned if gain is None else gain, delta=0.2)
                self.assertAlmostEqual(turned, line["gain_db"], delta=0.2)
                self.assertEqual([line.get(key, 0) for key in ("wrapped", "clipped_inputs")], [0, 0])
                if gain is None:  # no more than needed; of a device the input counts, too
                    self.assertTrue(engine == "device" or 0.97 < peaks[1] <= 1)

    def test_what_is_not_finite_is_silence(self):
        sound = np.float32([0.25, np.nan, 0.5, np.inf, -np.inf, 3e38, 0])
        write("in.wav", header(4 * len(sound), coding=3, bits=32), sound.tobytes())
        self.assertEqual(run("-q", "-r", 48000, "in.wav", "out.wav"),
                         (0, b"", "rsmpl: in.wav: warning: 4 samples are not finite, taken as silence\n"))
        self.assertEqual(list(sf.read("out.wav")[0]), [0.25, 0, 0.5, 0, 0, 0, 0])


    def test_formats(self):
        sound = shorts(4800, 2) / 32768
        for kind in "wav", "flac", "aiff", "au", "caf", "w64", "rf64", "ogg", "mp3":
            sf.write("in." + kind, sound, 48000)
            self.assertEqual(told("in." + kind, "o.wav")["frames_out"], 1600)
        good("in.wav", "o.wav")
        plain = sf.read("o.wav")[0]
        for name, options, format, subtype in (
                ("o.flac", [], "FLAC", "PCM_16"), ("o.aif", [], "AIFF", "PCM_16"),
                ("o.SND", [], "AU", "PCM_16"),
                ("o", [], "WAV", "PCM_16"), ("o.xyz", ["--format", "au"], "AU", "PCM_16"),
                ("o.flac", ["--bits", 24], "FLAC", "PCM_24"),
                ("o.wav", ["--bits", "float"], "WAV", "FLOAT")):
            good(*options, "in.wav", name)
            self.assertEqual((sf.info(name).format, sf.info(name).subtype), (format, subtype))
            np.testing.assert_allclose(sf.read(name)[0], plain, atol=0.51 / 32768)
        for bits, code in ("16", "<i2"), ("float", "<f4"):
            good("--bits", bits, "in.wav", "o.wav"), good("--bits", bits, "in.wav", "o.raw")
            self.assertEqual(read("o.raw"), chunks("o.wav")[b"data"])
        self.assertNotIn(b"PEAK", chunks("o.wav"))  # which has the time of day

    def test_tags_go_along(self):
        origin = bytearray(602)
        origin[0:5], origin[338:346] = b"scene", struct.pack("<Q", 3 << 33 | 1000)
        marks = struct.pack("<III4sIIIII4sIII", 2, 1, 300, b"data", 0, 0, 300, 2, 4001, b"data", 0, 0,
                            4001)
        info = b"INFO" + chunk(b"INAM", b"a title\0") + chunk(b"IART", b"an artist\0")
        write("in.wav", chunk(b"RIFF", b"WAVE" + header(0)[12:36] + chunk(b"bext", origin)
                              + chunk(b"cue ", marks) + chunk(b"LIST", info)
                              + chunk(b"data", shorts(4800).tobytes())))
        good("in.wav", "o.wav")
        found = chunks("o.wav")
        self.assertEqual(found[b"bext"][:5], b"scene")
        self.assertEqual(struct.unpack_from("<Q", found[b"bext"], 338)[0], (1 << 33) + 333)
        places = np.frombuffer(found[b"cue "], "<u4")
        self.assertEqual(list(places[[2, 6, 8, 12]]), [100, 100, 1334, 1334])
        for name in "o.wav", "o.flac", "o.aiff":
            good("in.wav", name)
            with sf.SoundFile(name) as file:
                self.assertEqual((file.title, file.artist), ("a title", "an artist"))
        good("in.wav", "o.au")

    def test_pipes(self):
        samples = shorts(5000, 2).tobytes()
        write("in.raw", samples)
        good("--raw", "48000,2", "in.raw", "o.raw")
        wanted = read("o.raw")
        swap = lambda data: np.frombuffer(data, "<i2").astype(">i2").tobytes()
        for size in len(samples), 0, 0x7ffff000, 0x7fffffff, 0xffffffff:
            wav = header(size, channels=2, riff=0 if size == 0 else None) + samples
            au = header(size or 0xffffffff, "au", 2, coding=3) + swap(samples)
            for data in wav, au:
                self.assertEqual(run("-q", "-", "-", stdin=data), (0, wanted, ""))
        raw = ["--raw", "48000,2", "-"]
        self.assertEqual(run("-q", *raw, "-", stdin=samples), (0, wanted, ""))
        status, au, err = run("--format", "au", *raw, "-", stdin=samples)
        self.assertEqual((status, au[24:], err[:9]), (0, swap(wanted), "frames in"))
        good(*raw, "o.wav", stdin=samples)
        self.assertEqual(chunks("o.wav")[b"data"], wanted)

    def test_a_pipe_delivers_at_once(self):
        for engine in "iir", "device":
            command = [RSMPL, "--no-align", "--engine", engine, "-q", "--raw", "48000,1", "-", "-"]
            with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                  bufsize=0) as process:
                for _ in range(3):
                    process.stdin.write(shorts(960).tobytes())
                    out = b""
                    while len(out) < 640:  # would wait for ever
                        out += process.stdout.read(4096)
                    self.assertEqual(len(out), 640)
                process.stdin.close()
                self.assertEqual(process.stdout.read(), b"")

    def test_what_is_cut_off(self):
        for name in "in.wav", "in.aiff", "in.au", "in.w64", "in.rf64", "in.caf", "in.flac":
            sf.write("whole", shorts(9000), 48000, format=name[3:].upper())
            data = read("whole")
            write(name, data[:len(data) // 2])
            status, _, err = run(name, "o.wav")
            self.assertRegex(err, f"^rsmpl: {name}: the file ends .*; --allow-truncated converts .*\n$")
            self.assertEqual((status, os.path.exists("o.wav")), (1, False))
            status, out, err = run("--allow-truncated", name, "o.wav")
            self.assertRegex(err, f"^rsmpl: {name}: warning: the file ends .*; converted .* there\n$")
            self.assertTrue(status == 0 and 3400 < int(out.split()[2]) < 4501, (name, out))
            os.unlink("o.wav")
        for start in header(0, riff=0), header(0x7fffffff), header(0xffffffff):
            write("in.wav", start, shorts(600).tobytes())  # by recorders that could not know
            self.assertIn(b"frames in 600 ", good("in.wav", "o.wav"))
        status, out, err = run("-", "-", stdin=header(1000) + bytes(500))
        self.assertEqual(status, 1)
        self.assertIn("standard input: the file ends after 250 of the 500 frames that its header", err)

    def test_many_files(self):
        sounds = ["a/1.wav", "a/b/2.flac", "a/b/3.wav", "a/c/4.au", "a/5.w64", "a/c/6.aiff"]
        for folder in "a/b", "a/c", "one", "four", "flac":
            os.makedirs(folder)
        for name in sounds:
            sf.write(name, shorts(30000, 2), 48000)
        lines = good("--out-dir", "one", "-j", 1, *sounds).decode().splitlines()
        self.assertEqual([line.split(": ")[0] for line in lines[:-1]], sounds)
        self.assertRegex(lines[-1], r"^converted 6, skipped 0, failed 0: 3.8 s of audio in .* real time$")
        lines = good("--json", "--out-dir", "four", "-j", 4, *sounds).splitlines()
        lines = [json.loads(line) for line in lines]
        self.assertEqual(sorted(line["in"] for line in lines), sorted(sounds))
        for line in lines:
            self.assertEqual(line["out"], "four" + os.path.splitext(line["in"])[0][1:] + ".wav")
            self.assertEqual((sf.info(line["out"]).frames, line["channels"]), (line["frames_out"], 2))
            good(line["in"], "o.wav")
            for twin in "o.wav", line["out"].replace("four", "one"):
                self.assertEqual(read(line["out"]), read(twin))
        write("a/c/bad.wav", b"RIFF")
        os.unlink("one/b/2.wav")
        status, out, err = run("--no-clobber", "--out-dir", "one", *sounds, "a/c/bad.wav", "no.wav")
        self.assertEqual(status, 1)  # the common root has become the folder above
        self.assertIn("converted 6, skipped 0, failed 2", out.decode())
        named = [line.split(": ")[1] for line in sorted(err.splitlines())]
        self.assertEqual(named, ["a/c/bad.wav", "no.wav"])
        status, out, err = run("--no-clobber", "--root", "a", "--out-dir", "one", *sounds,
                               "a/c/bad.wav")
        self.assertIn("converted 1, skipped 5, failed 1", out.decode())
        self.assertIn("a/1.wav: skipped, one/1.wav exists\n", out.decode())
        good("--out-dir", "flac", "--format", "flac", "-q", "a/1.wav", "a/b/2.flac")
        self.assertEqual({sf.info(f"flac/{name}.flac").format for name in ("1", "b/2")}, {"FLAC"})
        self.assertIn(b"skipped", good("--no-clobber", "a/1.wav", "o.wav"))


    def make_inputs(self):
        sf.write("in.wav", shorts(100), 48000), sf.write("16.wav", shorts(100, 16), 48000)
        sf.write("17.wav", shorts(100, 17), 48000), sf.write("in.flac", shorts(100), 48000)
        sf.write("44.wav", shorts(100), 44100), sf.write("none.wav", shorts(0), 48000)
        sf.write("in.caf", shorts(100), 48000), sf.write("long.wav", shorts(2000000), 48000)
        for name, rate in ("zero", 0), ("negative", -5), ("4g", -294967296), ("prime", 48017):
            write(name + ".wav", header(200, rate=rate), bytes(200))
        write("none.au", header(0, "au", rate=8000, coding=3))
        write("0.wav", header(200, channels=0), bytes(200))
        write("text.wav", b"not audio"), write("empty.wav")
        write("bad.mp3", b"\xff\xfb\x90\x64", bytes(3000))
        with open("huge.wav", "wb") as file:  # 5 GiB of nothing
            ds64 = chunk(b"ds64", struct.pack("<QQQI", 5 << 30, 5 << 30, 0, 0))
            file.write(b"RF64\xff\xff\xff\xffWAVE" + ds64 + header(0xffffffff)[12:])
            file.truncate(file.tell() + (5 << 30))
        os.mkdir("dir"), os.mkdir("sub"), os.mkdir("closed", 0o555), os.mkfifo("fifo.wav")
        os.symlink("in.wav", "link.wav"), os.link("in.wav", "hard.wav")
        os.symlink("nothing", "dangling.wav")
        for name, mode in ("fixed.wav", 0o444), ("secret.wav", 0):
            sf.write(name, shorts(100), 48000), os.chmod(name, mode)
        try:
            os.mknod("full", 0o666 | 0o020000, os.makedev(1, 7))  # of our own is safe from mistakes
        except PermissionError:
            os.symlink("/dev/full", "full")

    def state(self):
        return sorted(pathlib.Path(".").rglob("*")), read("in.wav")

    def test_what_goes_wrong_is_said_in_a_line(self):
        self.make_inputs()
        before = self.state()
        for line in ERRORS.strip().splitlines():
            status, message, arguments = map(str.strip, line.split("|"))
            arguments = arguments.replace(r"\e", "\x1b").split()
            arguments = [argument.replace(r"\n", "\n") for argument in arguments]
            found = run(*arguments)
            self.assertEqual(found[:2], (int(status), b""), arguments)
            self.assertRegex(found[2], f"^rsmpl: {message}\n$")
            self.assertEqual(self.state(), before, arguments)
        for name, kind in ("in.flac", "FLAC"), ("in.caf", "CAF"):
            self.assertIn(f"input: {kind} can't be read from a pipe, only plain WAV, AU and --raw; write",
                          run("-", "o.wav", stdin=read(name))[2])
        for data in b"", read("text.wav"):
            self.assertIn("input: no header of WAV or AU came", run("-", "o.wav", stdin=data)[2])
        self.assertIn("input: --safe reads the input twice",
                      run("--safe", "--raw", "8000,1", "-", "o.wav", stdin=bytes(99))[2])
        good("16.wav", "o.wav"), good("--help"), good("--version")
        good("--format", "wav", "in.wav", "/dev/null")
        self.assertEqual(good("--", "in.wav", "-dash.wav")[:6], b"frames")
        limits = [("fsize", 600 << 10, "File too large")]  # what the thread sanitizer needs is within
        if b"__ubsan" not in read(RSMPL):  # which opens pipes
            limits.append(("nofile", 4, "Too many open files"))
        for limit, value, message in limits:
            limited = ["prlimit", f"--{limit}={value}", RSMPL, "long.wav", "o.wav"]
            found = subprocess.run(limited, capture_output=True, text=True)
            self.assertEqual(found.returncode, 1)
            self.assertRegex(found.stderr, rf"rsmpl: (o|long)\.wav: {message}\n$")

    def test_files_are_replaced_as_one_would_like(self):
        sf.write("1.wav", shorts(300), 48000), sf.write("2.wav", shorts(300), 48000)
        good("1.wav", "new.wav", umask=0o027), os.symlink("new.wav", "link.wav")
        good("2.wav", "link.wav", umask=0o077), good("2.wav", "other.wav")
        self.assertEqual(read("new.wav"), read("other.wav"))
        self.assertTrue(os.path.islink("link.wav") and os.stat("new.wav").st_mode & 0o777 == 0o640)

    def test_nobody_reads(self):
        sf.write("in.wav", shorts(30000), 48000)
        for default, status in (True, -signal.SIGPIPE), (False, 1):
            for out in "-", "o.wav":
                reader, writer = os.pipe()
                os.close(reader)
                done = subprocess.run([RSMPL, "in.wav", out], stdout=writer, stderr=subprocess.PIPE,
                                      preexec_fn=handled(signal.SIGPIPE, default))
                self.assertEqual((done.returncode, done.stderr), (status, b""))
        for arguments in ["in.wav", "o.wav"], ["--help"], ["info", "--help"]:
            with open("/dev/full", "w") as full:
                done = subprocess.run([RSMPL, *arguments], stdout=full, stderr=subprocess.PIPE)
            self.assertEqual((done.returncode, done.stderr),
                             (1, b"rsmpl: standard output: No space left on device\n"))

    def test_no_file_takes_the_place_of_a_closed_descriptor(self):
        os.mkfifo("1.au")
        process = subprocess.Popen(["sh", "-c", 'exec "$@" <&- >&- 2>&-', "sh", RSMPL, "1.au", "o.wav"])
        with open("1.au", "wb"):
            links = [os.readlink(f"/proc/{process.pid}/fd/{number}") for number in range(3)]
        self.assertEqual((process.wait(60), links), (1, 3 * ["/dev/null"]))

    def test_signals_leave_nothing_behind(self):
        # Conversions that wait for the rest of their pipes, one, or two beside one that is done.
        os.mkfifo("1.au"), os.mkfifo("2.au"), os.mkdir("out")
        many = ["--out-dir", "out", "-j", "2", "1.au", "2.au"]
        for name, default in (*((name, True) for name in ("HUP", "INT", "QUIT", "TERM", "XCPU")),
                              ("HUP", False)):
            number = getattr(signal, "SIG" + name)
            for pipes, arguments in (["1.au"], ["1.au", "out/1.wav"]), (["1.au", "2.au"], many):
                process = subprocess.Popen(["prlimit", "--core=0", RSMPL, "-q", *arguments],
                                           preexec_fn=handled(number, default))
                writers = [open(pipe, "wb", 0) for pipe in pipes]
                for writer in writers:
                    writer.write(header(0xffffffff, "au", coding=3) + bytes(4000))
                while len(glob.glob("out/.rsmpl-*")) < len(pipes):
                    time.sleep(0.01)
                process.send_signal(number)
                if default:
                    self.assertEqual(process.wait(60), -number)
                for writer in writers:
                    writer.close()
                self.assertEqual(process.wait(60), -number if default else 0)
                self.assertEqual(len(os.listdir("out")), 0 if default else len(pipes))

    def test_progress_on_a_terminal_only(self):
        sf.write("in.wav", shorts(100), 48000), os.mkdir("out")
        start = header(64000, "au", rate=8000, coding=3)
        seconds = rb"^(\r\d s of audio, \d tim\x1b\[K)+\r\x1b\[K$"  # in a window of 20 columns
        part = rb"^(\r \d\d %, \d times real time, 0:0\d left\x1b\[K)+\r\x1b\[K$"
        whole = rb"^(\r100 %, \d times real time, 0:00 left\x1b\[K)+\r\x1b\[K$"
        begun = [(self.begin(*arguments), wanted) for wanted, *arguments in (
            (seconds, b"", "--raw", "8000,1", "-", "1.wav"), (part, start, "-", "2.wav"),
            (whole, start, "--out-dir", "out", "in.wav", "/dev/stdin"),
            (b"^$", start, "--quiet", "-", "3.wav"))]
        piped = subprocess.Popen([RSMPL, "-", "-"], stdin=subprocess.PIPE, bufsize=0,
                                 stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        piped.stdin.write(start + bytes(32000))
        time.sleep(1.1)
        self.assertRegex(piped.communicate(bytes(32000))[1], b"^frames in 32000 ")
        for (process, slave, terminal), wanted in begun:
            process.communicate(bytes(32000))
            self.assertEqual(process.returncode, 0)
            os.write(slave, b"$")
            self.assertRegex(b"".join(iter(lambda: terminal.read(1), b"$")), wanted)
            os.close(slave), terminal.close()

    def begin(self, data, *arguments):
        """What has read some of its input, beside its terminal."""
        master, slave = pty.openpty()
        termios.tcsetwinsize(slave, (24, 0 if data else 20))
        process = subprocess.Popen([RSMPL, *arguments], stdin=subprocess.PIPE, stderr=slave,
                                   stdout=subprocess.DEVNULL, bufsize=0)
        process.stdin.write(data + bytes(32000))
        return process, slave, open(master, "rb", 0)

    def test_memory_does_not_grow(self):
        most = []
        for seconds in 10, 100:
            with open("in.wav", "wb") as file:
                file.write(header(seconds * 48000 * 32, channels=16))
                file.truncate(44 + seconds * 48000 * 32)
            child = os.posix_spawn(RSMPL, [RSMPL, "-q", "in.wav", "out.wav"], os.environ)
            most.append(os.wait4(child, 0)[2].ru_maxrss)
        self.assertLess(most[1], 1.2 * most[0])


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0]])
