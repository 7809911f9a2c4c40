"""What benchmarks and peers print becomes a document, a table and a figure."""
import pathlib
import re
import tempfile
import unittest
import xml.etree.ElementTree as xml

import report

SOURCE = pathlib.Path(__file__).resolve().parents[2]


def launches(*times):
    """A launch per pair of our and the peer's time of the case "add", beside one that has no peer."""
    return [(report.side([f"time add 1000 {ours}", "time bare 1000 50", "memory add 1000 1.5"]),
             report.side(["note peer numpy 1.0", "check add 1000 agree", f"time add 1000 {peer}"]))
            for ours, peer in times]


def document(*times):
    return {"schema": report.SCHEMA, "about": {"machine": "Some CPU", "level": "v3"},
            "subsystems": [report.subsystem("binary", launches(*times), [])]}


def add(*times):
    return document(*times)["subsystems"][0]["cases"][0]


class Side(unittest.TestCase):
    def test_figures_that_measure_nothing_are_none(self):
        for text in ("0", "-1", "nan", "inf", "soon"):
            self.assertIsNone(report.number(text), text)
        self.assertEqual(report.number("1.25e3"), 1250)

    def test_a_case_belongs_to_the_peer_named_last(self):
        said = report.side(["note peer A 1", "time x 1 5", "note peer B 2", "time y 1 6"])
        self.assertEqual(said["peer"], {("x", 1): "A 1", ("y", 1): "B 2"})

    def test_what_is_no_line_of_ours_is_skipped(self):
        said = report.side(["", "time", "time x many 5", "a warning of some library, in words"])
        self.assertEqual((said["time"], said["notes"]), ({}, {}))


class Case(unittest.TestCase):
    def test_ratios_are_taken_launch_by_launch(self):
        row = add((10, 20), (30, 20), (20, 80))
        self.assertEqual(row, {
            "name": "add", "elements": 1000, "peer": "numpy 1.0", "ours_ns": 20, "peer_ns": 20, "ratio": 0.5,
            "launches": [0.5, 1.5, 0.25], "verdict": "undecided", "agree": True, "memory": 1.5})

    def test_only_launches_that_all_say_the_same_decide(self):
        for times, verdict in (([(1, 2)], "faster"), ([(1, 2), (9, 10)], "faster"), ([(2, 1), (3, 2)], "slower"),
                               ([(1, 2), (2, 1)], "undecided"), ([(1, 1)], "undecided"), ([("nan", 1)], None)):
            self.assertEqual(add(*times)["verdict"], verdict, times)

    def test_a_launch_without_a_figure_keeps_its_place(self):
        row = add((10, 20), (10, "nan"), (30, 20))
        self.assertEqual((row["launches"], row["ratio"]), ([0.5, None, 1.5], 1))

    def test_one_that_differs_fails(self):
        pairs = launches((10, 20), (10, 20))
        pairs[1][1]["check"]["add", 1000] = False
        part = report.subsystem("binary", pairs, ["it broke", "it broke"])
        self.assertEqual(part["failures"], ["it broke", "add 1000: the results differ from those of numpy 1.0"])

    def test_an_absent_peer_leaves_our_figures(self):
        part = report.subsystem("fit", [(report.side(["time fit 20 3e6"]), report.side(["note absent Ceres"]))], [])
        self.assertEqual((part["absent"], part["cases"][0]["ours_ns"], part["cases"][0]["verdict"]),
                         (["Ceres"], 3e6, None))


class Pages(unittest.TestCase):
    def test_the_table_says_everything(self):
        text = report.table(document((10, 1500), (30, 1500)))
        rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in text.splitlines() if "|" in line]
        self.assertEqual(rows[2], ["add", "1,000", "20 ns", "1.50 us", "0.01", "0.01..0.02", "faster", "agree", "1.50",
                                   "numpy 1.0"])
        self.assertEqual(rows[3][2:7], ["50 ns", "-", "-", "-", "-"])
        self.assertEqual(len({len(line) for line in text.splitlines() if "|" in line}), 1)
        self.assertIn("- level: v3\n", text)
        self.assertIn("figure: 1; faster: 1, undecided: 0, slower: 0.", text)

    def test_the_figure_is_drawn(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "figure.svg")
            try:
                import matplotlib
            except ImportError:
                self.assertFalse(report.draw(document((10, 20)), path))
                return
            self.assertTrue(report.draw(document((10, 20), (30, 20)), path))
            xml.parse(path)
            self.assertFalse(report.draw(document(("nan", 1)), path))

    def test_every_public_header_is_measured_or_says_why_not(self):
        umbrella = (SOURCE / "dataprocessing" / "dataprocessing.h").read_text()
        named = re.findall(r"`(\w+/\w+\.h)`", (SOURCE / "bench" / "README.md").read_text())
        self.assertEqual(sorted(named), sorted(re.findall(r'#include "dataprocessing/(\S+)"', umbrella)))


if __name__ == "__main__":
    unittest.main()
