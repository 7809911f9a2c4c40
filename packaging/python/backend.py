"""setuptools, and the tools that the build needs: asked for from an index only where they are absent."""

import importlib.util
import shutil

from setuptools import build_meta
from setuptools.build_meta import *  # noqa: F403, what is not said anew here is setuptools'


def get_requires_for_build_wheel(config_settings=None):
    absent = [tool for tool, program in (("cmake", "cmake"), ("ninja", "ninja")) if shutil.which(program) is None]
    if importlib.util.find_spec("pybind11") is None:
        absent.append("pybind11>=2.10")
    return [*build_meta.get_requires_for_build_wheel(config_settings), *absent]
