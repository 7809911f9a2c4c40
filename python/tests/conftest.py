"""What several tests share."""

import os
import pathlib
import sys

import dataprocessing
import numpy as np
import pytest
from hypothesis import settings

# The same examples at every run, however slow the machine; fewer where every access is checked.
SANITIZED = "libasan" in os.environ.get("LD_PRELOAD", "")
settings.register_profile("steady", deadline=None, derandomize=True, database=None, max_examples=15 if SANITIZED else 100)
settings.load_profile("steady")

DTYPES = ["u1", "u2", "u4", "i1", "i2", "i4", "f4", "f8", "c8", "c16"]
REALS = DTYPES[:8]
INTEGERS = DTYPES[:6]

SAMPLES = {
    "u1": [0, 1, 7, 200, 255], "u2": [0, 1, 300, 40000, 65535], "u4": [0, 1, 70000, 3000000000, 4294967295],
    "i1": [0, -1, 7, -128, 127], "i2": [0, -1, 300, -32768, 32767], "i4": [0, -1, 70000, -2147483648, 2147483647],
    "f4": [0.0, -1.5, 3.25, 1e30, -1e-30], "f8": [0.0, -1.5, 3.25, 1e300, -1e-300],
    "c8": [0j, 1 + 2j, -3.5j, 1e10, -1 - 1j], "c16": [0j, 1 + 2j, -3.5j, 1e100, -1 - 1j],
}  # fmt: skip


def sample(dtype):
    return np.array(SAMPLES[dtype], dtype=dtype)


@pytest.fixture(params=DTYPES)
def dtype(request):
    return request.param


@pytest.fixture
def kernel(monkeypatch):
    """Notebooks are run by this interpreter's kernel, or the system's, with the package that is tested."""
    pytest.importorskip("nbclient")
    pytest.importorskip("ipykernel")
    package = str(pathlib.Path(dataprocessing.__file__).parents[1])
    before = os.environ.get("PYTHONPATH")
    monkeypatch.setenv("PYTHONPATH", f"{package}{os.pathsep}{before}" if before else package)
    monkeypatch.setenv("PATH", f"{pathlib.Path(sys.executable).parent}{os.pathsep}{os.environ['PATH']}")
