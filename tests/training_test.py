#!/usr/bin/env python3
"""training_test.py PAGE: runs what the page says, in a scratch folder, its last block on a cluster of
two workers."""
import contextlib, io, os, pathlib, re, sys, tempfile
import numpy as np
import soundfile


def main():
    blocks = re.findall(r"^```python\n(.*?)^```$", pathlib.Path(sys.argv[1]).read_text(), re.M | re.S)
    page = {"__name__": "__main__"}  # functions are then sent to workers whole
    t = np.arange(48000 * 5) / 48000
    tone = np.round(30000 * np.sin(2 * np.pi * 440 * t)).astype(np.int16)
    for name, rate, x in [("ann/1", 48000, tone[:72001]), ("ann/2", 44100, tone), ("bob/1", 48000, tone),
                          ("bob/2", 16000, np.stack([tone, -tone], axis=1))]:
        os.makedirs(os.path.dirname(f"corpus/{name}"), exist_ok=True)
        soundfile.write(f"corpus/{name}.wav", x, rate, subtype="PCM_16")
    pathlib.Path("corpus/bob/3.wav").write_text("no sound")

    for block in blocks[:-1]:
        exec(block, page)
    heard = page["heard"]("corpus/ann/1.wav")
    assert heard.shape == (24001,) and heard.dtype == np.int16
    middle = slice(2000, 22000)  # the tone, in its place, 0 to 0.5 dB down
    gain = np.dot(heard[middle], tone[:72001:3][middle].astype(float)) / np.sum(tone[:72001:3][middle] ** 2.0)
    assert 0.94 < gain <= 1.0, gain
    assert len(page["heard"]("corpus/ann/2.wav")) == -(-len(tone) * 160 // 441)
    assert page["heard"]("corpus/bob/2.wav").shape == (len(tone), 2)
    assert page["delivered"]("corpus/ann/1.wav").shape == (24000, 1)

    data = page["Heard"]([("corpus/ann/1.wav", "ann"), ("corpus/bob/1.wav", "bob")])
    assert [(x.shape, label) for x, label in map(data.__getitem__, range(len(data)))] == [
        ((64000,), "ann"), ((64000,), "bob")]
    assert 0.85 < np.abs(data[0][0]).max() < 1 and not data[0][0][24001:].any()
    assert [len(y) for y in page["blocks_of"]("corpus/ann/1.wav")] == [320] * 75 + [1]

    from dask.distributed import LocalCluster
    said = io.StringIO()
    with LocalCluster(n_workers=2, threads_per_worker=1, dashboard_address=None) as cluster:
        os.environ["SCHEDULER"] = cluster.scheduler_address
        with contextlib.redirect_stdout(said):
            exec(blocks[-1], page)
    assert re.fullmatch(r"corpus/bob/3\.wav: .*\n", said.getvalue()), said.getvalue()
    for path in ["ann/1.wav", "ann/2.wav", "bob/1.wav", "bob/2.wav"]:
        assert np.array_equal(soundfile.read(f"out/{path}", dtype="int16")[0], page["heard"](f"corpus/{path}"))
    assert len([path for path in pathlib.Path("out").rglob("*") if path.is_file()]) == 4


if __name__ == "__main__":
    sys.argv[1] = os.path.abspath(sys.argv[1])
    with tempfile.TemporaryDirectory() as scratch:
        os.chdir(scratch)
        main()
