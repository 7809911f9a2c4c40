"""Programs are run, and what fails is told while the rest goes on."""
import pathlib
import tempfile
import unittest

from report import launch


class Launch(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.bench = pathlib.Path(folder.name)
        self.build = self.bench / "build"
        (self.build / "bench").mkdir(parents=True)
        self.failures = []

    def program(self, text):
        path = self.build / "bench" / "bench_thing"
        path.write_text(f"#!/bin/sh\n{text}\n")
        path.chmod(0o755)

    def peer(self, text):
        (self.bench / "thing.py").write_text(text)

    def launch(self):
        return launch.launch("thing", self.bench, self.build, self.failures)

    def test_the_peer_finds_what_ours_left(self):
        self.program('echo "time x 1 7"; echo left >"$1/x.1"')
        self.peer("import sys; print('time x 1', len(open(sys.argv[1] + '/x.1').read()))")
        ours, peer = self.launch()
        self.assertEqual((ours.times, peer.times), ({("x", 1): 7}, {("x", 1): 5}))
        self.assertEqual(self.failures, [])

    def test_without_a_peer_ours_is_measured(self):
        self.program('echo "time x 1 7"')
        ours, peer = self.launch()
        self.assertEqual((ours.times, peer.times), ({("x", 1): 7}, {}))
        self.assertEqual(self.failures, [])

    def test_what_was_said_before_a_failure_counts(self):
        self.program('echo "time x 1 7"; exit 3')
        self.assertEqual(self.launch()[0].times, {("x", 1): 7})
        self.assertEqual(self.failures, ["bench_thing ended with code 3"])

    def test_a_program_that_is_not_built_is_a_failure(self):
        self.peer("print('time x 1 7')")
        self.assertEqual(self.launch()[1].times, {("x", 1): 7})
        self.assertEqual(len(self.failures), 1)
        self.assertRegex(self.failures[0], "bench_thing did not start: No such file")


if __name__ == "__main__":
    unittest.main()
