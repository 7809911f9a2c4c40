"""The extension module is built by CMake, like everything else; what it is called stands in pyproject.toml."""

import os
import pathlib
import shlex
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext


class CMakeExtension(build_ext):
    def build_extension(self, ext):
        source = pathlib.Path(__file__).resolve().parent / "python"
        build = pathlib.Path(self.build_temp).resolve()
        subprocess.run(
            ["cmake", "--fresh", "-S", source, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
             f"-DPython3_EXECUTABLE={sys.executable}", *shlex.split(os.environ.get("CMAKE_ARGS", ""))],
            check=True,
        )  # fmt: skip
        subprocess.run(["cmake", "--build", build, "--target", "dataprocessing_python"], check=True)
        target = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve()
        target.parent.mkdir(parents=True, exist_ok=True)
        (made,) = (build / "python" / "dataprocessing").glob("_core*.so")
        self.copy_file(made, target)


setup(ext_modules=[Extension("dataprocessing._core", [])], cmdclass={"build_ext": CMakeExtension})
