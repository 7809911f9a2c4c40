"""What benchmarks and peers print becomes a document, a table and a figure."""
import pathlib
import re
import xml.etree.ElementTree as xml

import pytest
import comparison
import report

SOURCE = pathlib.Path(__file__).resolve().parents[2]


def launches(*times):
    """A launch per pair of our and the peer's time of the case "add", beside one that has no peer."""
    return [(report.side([f"time add 1000 {ours}", "time bare 1000 50", "memory add 1000 1.5"]),
             report.side(["note peer numpy 1.0", "check add 1000 agree", f"time add 1000 {peer}"]))
            for ours, peer in times]


def document(*times):
    return {"schema": report.SCHEMA, "about": {"machine": "Some CPU", "level": "v3"},
            "subsystems": [report.subsystem("binary", "at noon", launches(*times), [])]}


def add(*times):
    return document(*times)["subsystems"][0]["cases"][0]


def test_figures_that_measure_nothing_are_none():
    assert [report.number(text) for text in ("0", "-1", "nan", "inf", "soon", "1.25e3")] == [None] * 5 + [1250]


def test_lines_of_a_side():
    """A case belongs to the peer named last, which all peers have to agree about; other words are skipped."""
    said = report.side(["note peer A 1", "time x 1 5", "check x 1 DIFFER", "note peer B 2", "time y 1 6", "check x 1 agree",
                        "", "time", "time x many 5", "a warning of some library, in words"])
    assert said["peer"] == {("x", 1): "A 1", ("y", 1): "B 2"}
    assert (said["time"], said["check"]) == ({("x", 1): 5, ("y", 1): 6}, {("x", 1): False})


def test_ratios_are_taken_launch_by_launch():
    assert add((10, 20), (30, 20), (20, 80)) == {
        "name": "add", "elements": 1000, "peer": "numpy 1.0", "ours_ns": 20, "peer_ns": 20, "ratio": 0.5,
        "launches": [0.5, 1.5, 0.25], "verdict": "undecided", "agree": True, "memory": 1.5}


@pytest.mark.parametrize("times, verdict", [
    ([(1, 2)], "faster"), ([(1, 2), (9, 10)], "faster"), ([(2, 1), (3, 2)], "slower"), ([(1, 2), (2, 1)], "undecided"),
    ([(1, 1)], "undecided"), ([("nan", 1)], None)])
def test_only_launches_that_all_say_the_same_decide(times, verdict):
    assert add(*times)["verdict"] == verdict


def test_a_launch_without_a_figure_keeps_its_place():
    row = add((10, 20), (10, "nan"), (30, 20))
    assert (row["launches"], row["ratio"]) == ([0.5, None, 1.5], 1)


def test_one_that_differs_fails():
    pairs = launches((10, 20), (10, 20))
    pairs[1][1]["check"]["add", 1000] = False
    part = report.subsystem("binary", "at noon", pairs, ["it broke", "it broke"])
    assert part["failures"] == ["it broke", "add 1000: the results differ from those of numpy 1.0"]


def test_an_absent_peer_leaves_our_figures():
    part = report.subsystem("fit", "at noon", [(report.side(["time fit 20 3e6"]), report.side(["note absent Ceres"]))], [])
    row = part["cases"][0]
    assert (part["absent"], row["ours_ns"], row["verdict"]) == (["Ceres"], 3e6, None)


def test_the_table_says_everything():
    text = report.table(document((10, 1500), (30, 1500)))
    rows = [[cell.strip() for cell in line.strip("|").split("|")] for line in text.splitlines() if "|" in line]
    assert rows[2] == ["add", "1,000", "20 ns", "1.50 us", "0.013", "0.0067..0.02", "faster", "agree", "1.50", "numpy 1.0"]
    assert rows[3][2:7] == ["50 ns", "-", "-", "-", "-"]
    assert len({len(line) for line in text.splitlines() if "|" in line}) == 1
    assert "- level: v3\n- peers: numpy 1.0\n" in text and "## binary\n\nTaken at noon.\n" in text
    assert "figure: 1; faster: 1, undecided: 0, slower: 0." in text


def test_subsystems_that_were_taken_before_are_kept():
    before, now = document((10, 20)), document((10, 40))
    before["subsystems"].append(report.subsystem("algebra", "at dawn", launches((1, 2)), []))
    parts = report.merged(now, before)["subsystems"]
    assert [(part["name"], part["taken"], part["cases"][0]["ratio"]) for part in parts] == [
        ("algebra", "at dawn", 0.5), ("binary", "at noon", 0.25)]
    for other in ({}, before | {"schema": 2}, before | {"about": {"machine": "Another CPU"}}):
        assert report.merged(now, other) == now


PAGE = """before

| what | against | measured as | ratio |
|---|---|---|---|
| slow | numpy | `binary`: `add`, `divide` | ? |
| fast | numpy | `binary`: `multiply` | ? |

after
"""


def test_the_comparison_is_that_of_the_figures():
    text = report.table(document((30, 20), (50, 20))).replace("## binary", "## unary\n| add | 1 | 1 | 1 | 9.9 |" + " - |" * 5 + "\n## binary")
    measured = comparison.ratios(text) | {("binary", "divide"): [0.5, 0.013], ("binary", "multiply"): [0.12]}
    assert measured["binary", "add"] == [2] and measured["unary", "add"] == [9.9]
    assert comparison.filled(PAGE, measured).splitlines()[4:6] == [
        "| fast | numpy | `binary`: `multiply` | 0.12 |", "| slow | numpy | `binary`: `add`, `divide` | 0.013 to 2.0 |"]
    with pytest.raises(KeyError):
        comparison.filled(PAGE, {("binary", "multiply"): [0.12]})


def test_the_guide_compares_as_measured_and_hides_nothing_slower():
    page = (SOURCE / "docs/compare.md").read_text()
    measured = comparison.ratios((SOURCE / "bench/RESULTS.md").read_text())
    assert comparison.filled(page, measured) == page
    told = {case for line in page.splitlines() if line.count("|") == 5 and "`: `" in line for case in comparison.cases(line)}
    assert {case for case, values in measured.items() if max(values) > 1.05} - told == set()


def test_the_figure_is_drawn(tmp_path):
    pytest.importorskip("matplotlib")
    assert report.draw(document((10, 20), (30, 20)), tmp_path / "figure.svg")
    xml.parse(tmp_path / "figure.svg")
    assert not report.draw(document(("nan", 1)), tmp_path / "none.svg")


def test_every_public_header_is_measured_or_says_why_not():
    umbrella = (SOURCE / "dataprocessing" / "dataprocessing.h").read_text()
    named = re.findall(r"`(\w+/\w+\.h)`", (SOURCE / "bench" / "README.md").read_text())
    assert sorted(named) == sorted(re.findall(r'#include "dataprocessing/(\S+)"', umbrella))
