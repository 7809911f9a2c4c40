#!/usr/bin/python3
"""Numbers to and from text and bytes by Python's json and pickle, the peers of bench_streams: reads what our streams
wrote field by field. Both peers are written in C; they write one list, without a name or a tag for each number. The peer
of an array in a file is a copy of its bytes and one call that writes or reads them."""
import json
import pickle
import platform
import struct

from peer import DIRECTORY, double, np, ours, report

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


values = (double(COUNT, 1) / 3.0).tolist()
for form, module, fields in (("text", json, text_fields), ("binary", pickle, binary_fields)):
    print(f"note peer Python {platform.python_version()} {module.__name__}")
    written = (DIRECTORY / f"write_{form}.{COUNT}").read_bytes()
    stored = module.dumps(values)
    report(f"write_{form}", COUNT, fields(written) == values, lambda: module.dumps(values))
    read = ours(f"read_{form}", COUNT, np.float64).tolist()
    report(f"read_{form}", COUNT, read == module.loads(stored), lambda: module.loads(stored))
array, record, copied = double(LARGE, 1), DIRECTORY / "array.rec", DIRECTORY / "array.raw"
report("save_array", LARGE, record.read_bytes().endswith(array.tobytes()), lambda: copy_and_write(copied, array))
report("load_array", LARGE, np.array_equal(ours("load_array", LARGE, np.float64), array[::LARGE // 4096]),
       lambda: read_and_copy(copied))
