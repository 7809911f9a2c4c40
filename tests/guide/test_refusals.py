"""What the guide says the compiler refuses is refused, and the compiler says why before anything else."""
import os
import pathlib
import shlex
import subprocess

import pytest

SOURCE = pathlib.Path(__file__).resolve().parents[2]
COMPILER = shlex.split(os.environ["COMPILER"])

PROGRAM = """
#include "dataprocessing/dataprocessing.h"
enum ePlain {{ two = 2 }};
void refused(darr_c1DArray& line, darr_c2DArray& image, std::vector<double>& values) {{ {}; }}
"""

LISTED = "size and fill stand in ()"
MADE = "make an array of the range before"
TABLE = [
    ("parr_c1DNumberArray{5, 1.0L}", LISTED),
    ("parr_c1DNumberArray{5L, 2.5}", LISTED),
    ("parr_c1DNumberArray{two, 2.5}", LISTED),
    ("parr_c1DNumberArray{5, pnum_cNumber(2.5)}", LISTED),
    ("darr_c1DArray{1.0, pnum_cNumber(2.5)}", LISTED),
    ("darr_c1DArray{1.5, true}", LISTED),
    ("darr_c1DArray{std::vector<long>{1, 2}}", "OfNoElementType"),
    ("darr_c1DArray{std::list<double>{1, 2}}", "NotContiguous"),
    ("line * two", "An enumerator or a byte is no number"),
    ("line + values", MADE),
    ("values * image", MADE),
    ("pow(line, values)", MADE),
    ("image -= values", MADE),
    ("line < values", MADE),
    ("values == line", MADE),
    ("line[static_cast<__int128>(1)]", "An index has at most 64 bits"),
]


@pytest.mark.parametrize("call,reason", TABLE)
def test_refused(call, reason):
    done = subprocess.run([*COMPILER, "-std=gnu++20", "-fsyntax-only", "-x", "c++", "-"], input=PROGRAM.format(call),
                          stderr=subprocess.PIPE, text=True, check=False)
    assert done.returncode != 0
    assert reason in "\n".join(done.stderr.splitlines()[:16]), done.stderr


def test_the_program_compiles_without_them():
    subprocess.run([*COMPILER, "-std=gnu++20", "-fsyntax-only", "-x", "c++", "-"], input=PROGRAM.format("line + line"),
                   text=True, check=True)
