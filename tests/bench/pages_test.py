"""A document becomes a table, a page and a drawing."""
import pathlib
import re
import unittest
import xml.etree.ElementTree as xml

import sample
from report import document as documents
from report import drawing, markdown, table

SOURCE = pathlib.Path(__file__).resolve().parents[2]
SVG = "{http://www.w3.org/2000/svg}"


def binary(*times):
    return documents.subsystem("binary", sample.launches(*times), [])


def fit():
    return documents.subsystem("fit", sample.alone(), ["bench_fit ended with code 3"])


TABLE = """\
taken     2030-01-02 03:04 UTC, launches: 3
machine   Some CPU, processors: 2, L1d 32 KiB, L3 32 MiB
load      0.1 before, 1.0 after
system    Linux 6.1, Debian
library   1.2.3, commit abc1234 with changes
compiler  g++ 12.2.0, -O3
level     v3; this machine can run baseline, v3
peers     numpy 1.0
absent    Ceres is not installed

case                      elements       ours       peer   ratio      launches  results memory  peer

binary
add                           1000      20 ns    1.50 us    0.01    0.01..0.02  agree     1.50  numpy 1.0
bare                          1000      50 ns          -       -             -  -            -  -

fit
fit                             20    3.00 ms          -       -             -  -            -  -

Cases with a peer's figure: 1; faster than it: 1.
ratio: our time over the peer's; memory: peak over the size of the result
FAILED    fit: bench_fit ended with code 3"""


class Table(unittest.TestCase):
    maxDiff = None

    def test_it_says_everything(self):
        document = sample.document(binary((10, 1500), (20, 1500), (30, 1500)), fit())
        self.assertEqual(table.text(document), TABLE)

    def test_what_is_unknown_is_a_dash(self):
        text = table.text(sample.document(binary(("nan", 0))))
        self.assertRegex(text, r"\nadd +1000 +- +- +- +-  agree +1\.50  numpy 1\.0\n")


class Page(unittest.TestCase):
    def test_every_case_has_a_row_as_wide_as_the_head(self):
        text = markdown.text(sample.document(binary((10, 20)), fit()))
        rows = [line for line in text.splitlines() if re.match(r"\| (case|add|bare|fit) ", line)]
        self.assertEqual([row.split()[1] for row in rows], ["case", "add", "bare", "case", "fit"])
        self.assertEqual({row.count("|") for row in rows}, {10})

    def test_it_says_where_from_and_shows_the_drawing(self):
        text = markdown.text(sample.document(binary((10, 20)), fit()))
        for part in ("2030-01-02", "Some CPU", "abc1234", "numpy 1.0", "| level | v3;",
                     "(results.svg)", "## binary", "**Failed:** bench_fit ended with code 3"):
            with self.subTest(part):
                self.assertIn(part, text)


class Drawing(unittest.TestCase):
    @staticmethod
    def bars(*subsystems):
        root = xml.fromstring(drawing.svg(sample.document(*subsystems)))
        return [bar for bar in root.iter(SVG + "rect") if bar.get("class") in ("faster", "slower")]

    def test_bars_grow_from_one_by_the_logarithm(self):
        faster, slower = (self.bars(binary(times))[0] for times in ((10, 20), (20, 10)))
        self.assertEqual((faster.get("class"), slower.get("class")), ("faster", "slower"))
        self.assertEqual(faster.get("width"), slower.get("width"))
        end = float(faster.get("x")) + float(faster.get("width"))
        self.assertAlmostEqual(end, float(slower.get("x")), delta=0.11)
        one = drawing.Axis([0.5, 2]).position(1)
        self.assertAlmostEqual(end, one, delta=0.11)

    def test_only_cases_with_a_ratio_have_a_bar(self):
        self.assertEqual(len(self.bars(binary((10, 20)), fit())), 1)
        self.assertEqual(len(self.bars(binary(("nan", 20)), fit())), 0)
        self.assertEqual(len(self.bars()), 0)

    def test_several_launches_have_a_line(self):
        for times, count in (((10, 20),), 0), (((10, 20), (11, 20)), 1):
            with self.subTest(times):
                text = drawing.svg(sample.document(binary(*times)))
                self.assertEqual(text.count('class="launches"'), count)

    def test_names_are_escaped(self):
        part = binary((10, 20))
        part["name"] = "a < b & c"
        xml.fromstring(drawing.svg(sample.document(part)))

    def test_extremes_stay_in_the_field(self):
        axis = drawing.Axis([1e-9, 1e9])
        self.assertEqual(axis.position(1e-9), drawing.LEFT)
        self.assertEqual(axis.position(1e9), drawing.LEFT + drawing.WIDTH)


class Coverage(unittest.TestCase):
    def test_every_public_header_is_measured_or_says_why_not(self):
        umbrella = (SOURCE / "dataprocessing" / "dataprocessing.h").read_text()
        headers = re.findall(r'#include "dataprocessing/(\S+)"', umbrella)
        text = (SOURCE / "bench" / "README.md").read_text()
        named = re.findall(r"`(\w+/\w+\.h)`", text)
        self.assertEqual(sorted(named), sorted(headers))


if __name__ == "__main__":
    unittest.main()
