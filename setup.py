"""The extension module is built by CMake, like everything else; what it is called stands in pyproject.toml."""

import pathlib
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext


class CMakeExtension(build_ext):
    def build_extension(self, ext):
        root = pathlib.Path(__file__).resolve().parent
        build = pathlib.Path(self.build_temp).resolve()
        parts = [f"-DDATAPROCESSING_{part}=OFF" for part in ("TESTS", "BENCH", "EXAMPLES", "INSTALL")]
        subprocess.run(
            ["cmake", "-S", root, "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release", *parts,
             "-DDATAPROCESSING_PYTHON=ON", f"-DPython3_EXECUTABLE={sys.executable}"],
            check=True,
        )  # fmt: skip
        subprocess.run(["cmake", "--build", build, "--target", "dataprocessing_python"], check=True)
        target = pathlib.Path(self.get_ext_fullpath(ext.name)).resolve()
        target.parent.mkdir(parents=True, exist_ok=True)
        (made,) = (build / "python" / "dataprocessing").glob("_core*.so")
        self.copy_file(made, target)


setup(ext_modules=[Extension("dataprocessing._core", [])], cmdclass={"build_ext": CMakeExtension})
