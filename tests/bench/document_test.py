"""Launches become a document: medians, spreads, and what is missing."""
import pathlib
import tempfile
import unittest

import sample
from report import document as documents
from report import lines


def case(*times):
    return documents.subsystem("binary", sample.launches(*times), [])["cases"][0]


class Lines(unittest.TestCase):
    def test_figures_that_measure_nothing_are_none(self):
        for text in ("0", "-1", "nan", "inf", "soon"):
            with self.subTest(text):
                self.assertIsNone(lines.figure(text))
        self.assertEqual(lines.figure("1.25e3"), 1250)

    def test_a_case_belongs_to_the_peer_named_last(self):
        side = lines.read(["note peer A 1", "time x 1 5", "note peer B 2", "time y 1 6"])
        self.assertEqual(side.peers, {("x", 1): "A 1", ("y", 1): "B 2"})

    def test_what_is_no_line_of_ours_is_skipped(self):
        side = lines.read(["", "time", "time x many 5", "a warning of some library, in words"])
        self.assertEqual((side.times, side.notes), ({}, {}))


class Cases(unittest.TestCase):
    def test_ratios_are_taken_launch_by_launch(self):
        row = case((10, 20), (30, 20), (20, 80))
        self.assertEqual(row["ours_ns"], {"launches": [10, 30, 20], "median": 20, "spread": 1})
        self.assertEqual(row["ratio"]["launches"], [0.5, 1.5, 0.25])
        self.assertEqual((row["ratio"]["median"], row["ratio"]["spread"]), (0.5, 2.5))
        self.assertEqual((row["name"], row["elements"], row["peer"]), ("add", 1000, "numpy 1.0"))
        self.assertEqual((row["agree"], row["memory"]), (True, 1.5))

    def test_one_launch_has_no_spread(self):
        row = case((10, 20))
        self.assertEqual(row["ratio"], {"launches": [0.5], "median": 0.5, "spread": None})

    def test_a_launch_without_a_figure_keeps_its_place(self):
        for bad in ("0", "nan"):
            with self.subTest(bad):
                row = case((10, 20), (10, bad), (30, 20))
                self.assertEqual(row["peer_ns"]["launches"], [20, None, 20])
                self.assertEqual(row["ratio"]["launches"], [0.5, None, 1.5])
                self.assertEqual(row["ratio"]["median"], 1)

    def test_no_figure_at_all_is_no_ratio(self):
        row = case(("nan", 20), ("0", 20))
        self.assertEqual(row["ours_ns"], {"launches": [None, None], "median": None, "spread": None})
        self.assertIsNone(row["ratio"]["median"])

    def test_a_launch_that_ended_early_is_none(self):
        pairs = sample.launches((10, 20)) + [(lines.read([]), lines.read([]))]
        row = documents.subsystem("binary", pairs, [])["cases"][0]
        self.assertEqual(row["ours_ns"]["launches"], [10, None])

    def test_only_one_that_differs_in_no_launch_agrees(self):
        pairs = sample.launches((10, 20), (10, 20))
        pairs[1][1].agree[("add", 1000)] = False
        part = documents.subsystem("binary", pairs, [])
        self.assertIs(part["cases"][0]["agree"], False)
        self.assertEqual(part["failures"],
                         ["add 1000: the results differ from those of numpy 1.0"])


class Peers(unittest.TestCase):
    def test_an_absent_peer_leaves_our_figures(self):
        part = documents.subsystem("fit", sample.alone(), [])
        self.assertEqual(part["absent"], ["Ceres is not installed"])
        self.assertEqual(part["failures"], [])
        row = part["cases"][0]
        self.assertEqual((row["ours_ns"]["median"], row["ratio"]["median"]), (3e6, None))
        self.assertEqual((row["peer"], row["agree"], row["memory"]), (None, None, None))


class File(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.path = pathlib.Path(self.folder.name) / "new" / "results.json"

    def test_a_document_is_read_as_it_was_written(self):
        part = documents.subsystem("binary", sample.launches((10, 20), ("nan", 20)), [])
        written = sample.document(part)
        documents.write(written, self.path)
        self.assertEqual(documents.read(self.path), written)

    def test_no_reader_meets_a_nan(self):
        with self.assertRaises(ValueError):
            documents.write({"figure": float("nan")}, self.path)

    def test_another_schema_is_refused(self):
        documents.write(sample.document() | {"schema": 2}, self.path)
        with self.assertRaises(ValueError):
            documents.read(self.path)


if __name__ == "__main__":
    unittest.main()
