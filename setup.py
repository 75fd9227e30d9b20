"""Builds the qxcalc package's extension module with the project's CMake build.

The build configures its own tree (build/temp.*/cmake-*) for the interpreter that
runs it and installs the CMake component `python` there: the module, whose
RUNPATH is $ORIGIN, and libqxcalc-avx.so.1 beside it. Both go into the package.
"""
import hashlib
import os
import shutil
import subprocess
import sys
import sysconfig
from pathlib import Path

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE = Path(__file__).resolve().parent
try:  # pip --no-build-isolation uses the interpreter's own setuptools and wheel
    from wheel.bdist_wheel import bdist_wheel
except ImportError:
    sys.exit(f"qxcalc: building needs the wheel package for {sys.executable}; on Debian install python3-wheel "
             "and use /usr/bin/python3 or a venv made from it (python3 -m venv --system-site-packages DIR)")


class CMakeBuild(build_ext):
    def run(self):
        if shutil.which("cmake") is None:
            sys.exit("qxcalc: cmake is needed to build the extension module (Debian: apt-get install cmake g++)")
        super().run()

    def build_extension(self, ext):
        # One tree per interpreter (CMake keeps the Python it found in its cache);
        # the virtual environments of one interpreter share it.
        interpreter = os.path.realpath(sys.executable)
        tree = Path(self.build_temp).resolve() / f"cmake-{hashlib.sha1(interpreter.encode()).hexdigest()[:8]}"
        self.cmake("-S", SOURCE, "-B", tree, "-DCMAKE_BUILD_TYPE=Release", "-DBUILD_TESTING=OFF",
                   "-DQXCALC_BUILD_TESTS=OFF", "-DQXCALC_BUILD_EXAMPLES=OFF", "-DQXCALC_BUILD_PYTHON=ON",
                   f"-DPython3_EXECUTABLE={sys.executable}")
        if not (tree / "python" / "cmake_install.cmake").exists():  # the module's folder was left out
            sys.exit(f"qxcalc: CMake found no pybind11 or no Python headers for {sys.executable}; "
                     "on Debian install pybind11-dev and python3-dev and use /usr/bin/python3 "
                     "(or a venv made from it)")
        self.cmake("--build", tree, "--target", "_qxcalc", "-j", str(os.cpu_count() or 1))
        staging = Path(self.build_temp).resolve() / "staging"
        shutil.rmtree(staging, ignore_errors=True)
        self.cmake("--install", tree, "--component", "python", "--prefix", staging)
        module = Path(self.get_ext_fullpath(ext.name))
        module.parent.mkdir(parents=True, exist_ok=True)
        suffix = sysconfig.get_config_var("EXT_SUFFIX")
        for built in (staging / "qxcalc").iterdir():
            if built.name.startswith("_qxcalc.") and not built.name.endswith(suffix):
                sys.exit(f"qxcalc: the module was built as {built.name}, not for {sys.executable}")
            if built.name.startswith(("_qxcalc.", "libqxcalc-avx.so")):
                shutil.copy2(built, module.parent / built.name)

    def cmake(self, *arguments):
        print("cmake", *arguments)
        subprocess.run(["cmake", *map(str, arguments)], check=True)


setup(ext_modules=[Extension("qxcalc._qxcalc", sources=[])],
      cmdclass={"build_ext": CMakeBuild, "bdist_wheel": bdist_wheel})
