"""What the scripts beside it need of the clone: its folder, and a release build."""
import pathlib, subprocess

ROOT = pathlib.Path(__file__).resolve().parents[1]
RELEASE = ROOT / "build/release"


def build(targets, packages=""):
    """Installs what is missing to build the targets, and these packages, and builds."""
    subprocess.run(["bash", "-ec", """. .ci/need
need "${build_packages[@]}" "${test_packages[@]}" "${bench_packages[@]}" $1
cmake --preset release >/dev/null
cmake --build --preset release --target $0 >/dev/null""", targets, packages], cwd=ROOT, check=True)
