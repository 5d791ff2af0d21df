"""Builds the library's static parts with CMake, then the module on top of them.

In the tree the library is the folder above; an sdist carries it along.  What is built is kept in
the library's build/python, so that the next time is quick.  RSMPL_BUILT names a folder of CMake's in
which they are built already."""
import os
import pathlib
import re
import shutil
import subprocess

import setuptools
from setuptools.command.build_ext import build_ext
from setuptools.command.sdist import sdist

HERE = pathlib.Path(__file__).resolve().parent
CARRIED = HERE / "library"
LIBRARY = CARRIED if CARRIED.exists() else HERE.parent
KEPT = LIBRARY / "build" / "python"
ROOMS = "api convert design fir iir kernels spectral stream".split()
SOURCES = ["CMakeLists.txt", "cmake/*", "docs/man/*.in", "python/CMakeLists.txt", "python/blocks.*",
           *(f"{room}/*.{suffix}" for room in ROOMS for suffix in ("cpp", "h"))]
OPTIONS = ["-DCMAKE_BUILD_TYPE=Release", "--compile-no-warning-as-error",
           "-DRSMPL_BUILD_PYTHON=ON", "-DRSMPL_BUILD_CLI=OFF", "-DRSMPL_BUILD_ALSA=OFF",
           "-DRSMPL_BUILD_TESTS=OFF", "-DRSMPL_BUILD_BENCH=OFF"]
# Each needs the next.
TARGETS = {"rsmpl_blocks": "python/librsmpl_blocks.a", "rsmpl_stream_static": "librsmpl_stream.a",
           "rsmpl_static": "librsmpl.a"}


def build_library() -> pathlib.Path:
    if "RSMPL_BUILT" in os.environ:
        return pathlib.Path(os.environ["RSMPL_BUILT"])
    folder = KEPT / "cmake"
    if not shutil.which("cmake"):
        raise SystemExit("the library is built by cmake 3.25 or later, with g++ 12 or clang 14")
    subprocess.check_call(["cmake", "-S", LIBRARY, "-B", folder, *OPTIONS])
    subprocess.check_call(["cmake", "--build", folder, f"-j{os.cpu_count()}", "--target", *TARGETS])
    return folder


class BuildLibraryAndExtension(build_ext):
    def run(self) -> None:
        folder = build_library()
        for extension in self.extensions:
            archives = [str(folder / path) for path in TARGETS.values()]
            extension.include_dirs.append(str(LIBRARY))
            extension.extra_objects, extension.depends = archives, archives
            extension.extra_compile_args = ["-O2", "-ffp-contract=off"]
            # The module exports nothing of the library.
            extension.extra_link_args = ["-Wl,--exclude-libs,ALL", "-lstdc++", "-lm"]
        super().run()


class CarryLibrary(sdist):
    def make_release_tree(self, base_dir: str, files: "list[str]") -> None:
        super().make_release_tree(base_dir, files)
        for pattern in SOURCES:
            for source in LIBRARY.glob(pattern):
                target = pathlib.Path(base_dir, CARRIED.name, source.relative_to(LIBRARY))
                target.parent.mkdir(parents=True, exist_ok=True)
                shutil.copy2(source, target)


setuptools.setup(
    version=re.search(r"project\(rsmpl VERSION (\S+)", (LIBRARY / "CMakeLists.txt").read_text())[1],
    packages=["rsmpl"],
    package_data={"rsmpl": ["py.typed", "*.pyi"]},
    py_modules=[],
    cffi_modules=["rsmpl_build.py:ffibuilder"],
    cmdclass={"build_ext": BuildLibraryAndExtension, "sdist": CarryLibrary},
    options={"build": {"build_base": str(KEPT)}, "bdist_wheel": {"py_limited_api": "cp39"}})
