#!/usr/bin/python3
"""Runs bench_fourier_fftw, the peer of bench_fourier, which is built where FFTW is installed.

usage: fourier.py DIRECTORY   (where bench_fourier left samples of its results)
"""
import pathlib
import subprocess
import sys

samples = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".").resolve()
program = samples.parent.parent / "bench_fourier_fftw"
if program.exists():
    subprocess.run([program, samples], check=True)
else:
    print("note absent FFTW is not installed (Debian: libfftw3-dev)")
