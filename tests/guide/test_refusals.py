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
void refused(darr_c1DArray& line, darr_c2DArray& image, std::vector<double>& values, barr_c1DBoolArray& mask,
             barr_c2DBoolArray& area) {{ {}; }}
"""

LISTED = "size and fill stand in ()"
MADE = "make an array of the range before"
LOGIC = "masks have &, |, ^ and !"
SAME = "masks are the same where !(a ^ b) is true"
TRUTHS = "truths are listed as true and false"
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
    ("mask + mask", LOGIC),
    ("mask * 2", LOGIC),
    ("1 - area", LOGIC),
    ("mask += mask", LOGIC),
    ("mask == mask", SAME),
    ("area != area", SAME),
    ("mask == true", SAME),
    ("mask < mask", SAME),
    ("line * mask", "by a mask, tnry_Ternary chooses"),
    ("barr_c1DBoolArray{1, 0}", TRUTHS),
    ("barr_c1DBoolArray({1, 0})", TRUTHS),
    ("barr_c1DBoolArray({1, 0}, cal_c1DArrayCal(0, 1, 0))", TRUTHS),
    ("barr_c2DBoolArray(1, 2, {1, 0})", TRUTHS),
    ("barr_c1DBoolArray{values}", "of numbers a comparison tells"),
    ("barr_c2DBoolArray(1, 2, std::vector<int>{1, 0})", "of numbers a comparison tells"),
    ("line[static_cast<__int128>(1)]", "An index has at most 64 bits"),
]


@pytest.mark.parametrize("call,reason", TABLE)
def test_refused(call, reason):
    done = subprocess.run([*COMPILER, "-std=gnu++20", "-fsyntax-only", "-x", "c++", "-"], input=PROGRAM.format(call),
                          stderr=subprocess.PIPE, text=True, check=False)
    assert done.returncode != 0
    assert reason in "\n".join(done.stderr.splitlines()[:16]), done.stderr


def test_the_program_compiles_without_them():
    subprocess.run([*COMPILER, "-std=gnu++20", "-fsyntax-only", "-x", "c++", "-"], input=PROGRAM.format(
        "line + line; mask & mask; mask = barr_c1DBoolArray{5}; mask = barr_c1DBoolArray{true, false}; mask = line > 1.0"),
                   text=True, check=True)
