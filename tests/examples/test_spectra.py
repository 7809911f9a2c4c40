"""What the tour says of spectra whose lines are known: that it says no more than its figures do."""
import re

import numpy as np
import pytest

NUMBER = r"([\d.]+)\((\d+)\)"


def written(path, x, mean, heading, seed=20261122):
    counts = np.random.default_rng(seed).poisson(mean)
    path.write_text(heading + "\n" + "".join(f"{at:.6g},{count}\n" for at, count in zip(x, counts)))


def lines(x, *each):
    """Gaussians of position, full width and height."""
    return sum(height * np.exp(-4 * np.log(2) * ((x - at) / width) ** 2) for at, width, height in each)


@pytest.fixture
def flow(told):
    return lambda *arguments: " ".join(told(*arguments).split())


@pytest.mark.parametrize("heading, x, each, continuum", [
    # Electrons and crystals resolve what a detector of silicon does not.
    ("energy / eV, counts", 280 + 0.05 * np.arange(400), [(284.8, 1.1, 8000), (286.3, 1.1, 2500), (288.9, 1.1, 1200)], 200),
    ("energy / eV, counts", 6300 + 0.25 * np.arange(800), [(6390.8, 4, 4500), (6403.8, 4, 9000)], 50),
    # And germanium at higher energies.
    ("energy / keV, counts", 0.5 * np.arange(3000), [(121.8, 1.7, 4000), (344.3, 2.1, 2500), (1408, 3.2, 800)], 40)])
@pytest.mark.parametrize("given", [False, True], ids=["", "resolution"])
def test_lines_as_narrow_as_they_are(told, tmp_path, heading, x, each, continuum, given):
    written(tmp_path / "s", x, continuum + lines(x, *each), heading)
    text = told("--spectrum", "s", *(["--resolution", f"{each[0][1]}@{each[0][0]}"] if given else []))
    table = text[text.index("fitted together\n"):text.index("Chi-squared per")]
    found = re.findall(rf"^ *{NUMBER} +([\d.]+)", table, re.M)
    assert len(found) == len(each)
    for (at, _, width), (position, fullwidth, _) in zip(found, each):
        assert float(at) == pytest.approx(position, abs=0.02 * fullwidth)
        assert float(width) == pytest.approx(fullwidth, rel=0.04)


def test_two_widths_tell_no_slope(flow, tmp_path):
    x = 0.01 * np.arange(1200)
    written(tmp_path / "s", x, 100 + lines(x, (3, 0.11, 4000), (8, 0.1541, 4000)), "energy / keV, counts")
    text = flow("--spectrum", "s")
    assert "2 lines are strong and single enough to be fitted with their own width. That does not tell how widths grow" in text
    assert "taken to grow as those of a silicon detector" in text
    assert re.search(r"Chi-squared per degree of freedom of the law is [01]\.\d+: one law holds", text)


@pytest.mark.parametrize("factor, says", [(0, "Counts scatter more than that: these whole numbers are not what was counted"),
                                          (1, "there the background follows the continuum"),
                                          (10, "scatter 10.0 times as much as counts do")])
def test_numbers_that_are_no_counts(flow, tmp_path, factor, says):
    noise = np.random.default_rng(20261122).poisson(400, 600) - 400
    (tmp_path / "s").write_text("".join(f"{max(0, 400 + factor * value)}\n" for value in noise))
    text = flow("--spectrum", "s")
    assert says.replace("10.0", re.search(r"scatter (\d+\.\d)|$", text)[1] or "") in text
    assert factor != 10 or float(re.search(r"scatter (\S+)", text)[1]) == pytest.approx(10, abs=1.5)
    assert "There is no line of 5 standard errors" in text


def test_nothing_there_is_told_with_an_error(told, tmp_path):
    x = 0.01 * np.arange(1500)
    areas = []
    for seed in range(8):
        written(tmp_path / "s", x, 60 + lines(x, (5, 0.13, 900), (10, 0.17, 900)), "energy / keV, counts", seed)
        row = re.search(rf"given +7\.50* .*? (-?[\d.]+)\(([\d.]+)\) +(-?[\d.]+)\(([\d.]+)\) +[\d.]+$", told("--spectrum", "s", "--lines", "7.5"), re.M)
        areas.append(float(row[3]) / float(row[4]))
    assert min(areas) < 0 < max(areas)
    assert max(map(abs, areas)) < 4


def test_what_is_not_described_is_not_called_empty(flow, tmp_path):
    x = np.arange(600.0)
    written(tmp_path / "s", x, 100 + 5000 * (np.sin(x / 3) > 0), "channel, counts")
    text = flow("--spectrum", "s")
    assert "There is no line of" not in text
