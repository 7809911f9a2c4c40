#!/usr/bin/python3
"""Numbers to and from text and bytes by Python's json and pickle, the peers of bench_streams.

usage: streams.py DIRECTORY   (where bench_streams left samples of its results)

Reads what our streams wrote field by field, then prints times in the same form. Both peers are
written in C; they write one list, without a name or a tag for each number. The peer of an array in
a file is a copy of its bytes and one call that writes or reads them.
"""
import json
import pathlib
import pickle
import platform
import struct
import sys

from peer import real, report, ours

import numpy as np

COUNT = 100000
LARGE = 1 << 21


def text_fields(data):
    return [float(line.removeprefix("Value ")) for line in data.decode().splitlines()]


def binary_fields(data):
    """A tag, the length of the payload, and the payload."""
    fields = list(struct.iter_unpack("<HId", data))
    return [value for tag, length, value in fields if (tag, length) == (7, 8)]


def copy_and_write(path, values):
    copy = values.tobytes()
    with open(path, "wb", buffering=0) as file:
        file.write(copy)


def read_and_copy(path):
    with open(path, "rb", buffering=0) as file:
        return np.frombuffer(file.read(), np.float64).copy()


def arrays(directory):
    values = real(LARGE, 1).astype(np.float64)
    record, copied = directory / "array.rec", directory / "array.raw"
    written = record.read_bytes().endswith(values.tobytes())
    report("save_array", LARGE, written, lambda: copy_and_write(copied, values))
    loaded = np.array_equal(ours(directory, "load_array", LARGE, np.float64), values[::LARGE // 4096])
    report("load_array", LARGE, loaded, lambda: read_and_copy(copied))


def main():
    directory = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")
    values = (real(COUNT, 1).astype(np.float64) / 3.0).tolist()
    for form, module, fields in (("text", json, text_fields), ("binary", pickle, binary_fields)):
        print(f"note peer Python {platform.python_version()} {module.__name__}")
        written = (directory / f"write_{form}.{COUNT}").read_bytes()
        stored = module.dumps(values)
        report(f"write_{form}", COUNT, fields(written) == values, lambda: module.dumps(values))
        read = ours(directory, f"read_{form}", COUNT, np.float64).tolist()
        report(f"read_{form}", COUNT, read == module.loads(stored), lambda: module.loads(stored))
    arrays(directory)


main()
