#!/usr/bin/python3
"""Runs bench_gaussfit_ceres, the peer of bench_gaussfit, which is built where Ceres is installed.

usage: gaussfit.py DIRECTORY   (where bench_gaussfit left its solution)
"""
import pathlib
import subprocess
import sys

samples = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
program = samples.parent.parent / "bench_gaussfit_ceres"
if program.exists():
    subprocess.run([program, samples], check=True)
else:
    print("note absent Ceres is not installed (Debian: libceres-dev)")
