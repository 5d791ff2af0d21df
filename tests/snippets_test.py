#!/usr/bin/env python3
"""snippets_test.py SOURCE_DIR RSMPL: what pages and man pages show is there and works.

C, C++ and CMake are excerpts of files that are built; "..." stands for lines left out.  Lines with the
command are run, on recordings made up here.  Prototypes of man pages are those of the headers.  Files
that are named exist.  Run elsewhere: Python (python_test.py, training_test.py), corpora.md (corpora_test.sh),
alsa.md (alsa_test.py), compiling with pkg-config (install_test.sh); links between pages (docs/build)."""
import glob, os, pathlib, re, subprocess, sys, tempfile

root, rsmpl = pathlib.Path(sys.argv[1]), os.path.realpath(sys.argv[2])
QUOTED = {"c": ["examples/*.c", "docs/snippets/*.c"], "cpp": ["examples/*.cpp", "docs/snippets/*.cpp"],
          "cmake": ["tests/consumer/CMakeLists.txt"]}
ELSEWHERE = {"python": ["README.md", "python/README.md", "docs/training.md"], "sh": ["docs/corpora.md"]}
FOLDERS = "abi|alsa|api|bench|cli|cmake|convert|debian|design|docs|examples|fir|fuzz|iir|kernels|packaging|python|spectral|stream|tests"
pages = [path.relative_to(root).as_posix() for pattern in ["*.md", "docs/*.md", "python/README.md", "docs/man/*.in"]
         for path in sorted(root.glob(pattern))]
headers = [path.relative_to(root).as_posix() for pattern in ["*.h", "*/*.h"] for path in root.glob(pattern)]
failures = []


def check(holds, page, what):
    if not holds:
        failures.append(f"{page}: {what}")


def excerpt_of(block, language):
    lines = [re.escape("".join(line.split())) for line in block.split("\n") if line.strip()]
    pattern = "\n" + "\n".join("(.*\n)*?.*" if line == r"\.\.\." else line for line in lines) + "\n"
    return any(re.search(pattern, "\n" + re.sub(r"[^\S\n]|\n(?=\n)", "", pathlib.Path(path).read_text()))
               for files in QUOTED[language] for path in glob.glob(str(root / files)))


def run(line):
    """In a folder with the recordings that the line names; what records and what recognises are ours."""
    with tempfile.TemporaryDirectory() as folder:
        for name in {"corpus/a/1.wav", *re.findall(r"[\w./]+\.(?:wav|flac)\b", line)}:
            os.makedirs(os.path.dirname(f"{folder}/{name}") or folder, exist_ok=True)
            subprocess.run(["sox", "-R", "-n", "-r48000", "-b16", f"{folder}/{name}"] + "synth 0.1 sine 300 gain -6".split())
        stubs = 'arecord() { head -c 9600 /dev/zero; }; recogniser() { cat; }; aplay() { cat; };' \
                'ln -s "$RSMPL" rsmpl; PATH=$PWD:$PATH; mkdir -p out\n'
        return subprocess.run(["bash", "-e", "-o", "pipefail", "-c", stubs + line], cwd=folder,
                              env=os.environ | {"RSMPL": rsmpl}, stdout=subprocess.DEVNULL).returncode == 0


for page in pages + headers:
    text = (root / page).read_text()
    for name in re.findall(rf"(?<![\w/.<$~-])(?:\./)?((?:{FOLDERS})/[\w./-]*\w)", text):
        near = [root / name, root / pathlib.PurePath(page).parent / name]
        check(any(map(os.path.exists, near)) or glob.glob(f"{near[0]}*"), page, f"there is no {name}")
    if page in headers:
        continue
    for target in re.findall(r'(?:\]\(|src=")(?!\w+:)([^)#"]+)', text):
        check((root / page).parent.joinpath(target).exists(), page, f"a link to {target}, which is not there")
    for language, block in re.findall(r"^```(\w*)\n(.*?)^```$", text, re.M | re.S):
        known = excerpt_of(block, language) if language in QUOTED else page in ELSEWHERE.get(language, [])
        check(known or language in ["", "sh", "console"], page, f"no excerpt of a file that is built:\n{block}")
        text += re.sub("^", "    ", block, flags=re.M) if language in ["sh", "console"] else ""
    if page.endswith(".in"):
        text = text.replace("\\-", "-")
        for prototype in re.findall(r"^\w[^.(]*?\([^()]*\);", "".join(re.findall(r"^\.nf\n(#.*?)^\.fi", text, re.M | re.S)), re.M):
            declared = ("".join((root / header).read_text().split()) for header in headers)
            check(any("".join(prototype.split()) in header for header in declared), page, f"no such call: {prototype}")
    elif page not in ELSEWHERE["sh"]:
        text += "".join(f"\n    {line}" for line in re.findall(r"`(rsmpl (?:info|response|selftest)[^`]*)`", text))
    indent = "" if page.endswith(".in") else "    "
    for line in re.findall(rf"^{indent}(?:\$ )?((?:\w+ .*\| (?:xargs -0 )?|)rsmpl (?!- ).*)", text, re.M):
        check(page in ELSEWHERE["sh"] or run(line), page, f"fails: {line}")

print("\n".join(failures))
sys.exit(len(failures) > 0)
