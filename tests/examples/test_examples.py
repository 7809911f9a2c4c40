"""What the examples print is true: the tour of its own sample and of measured data, where they are, and the small ones of
what their comments and the guide promise."""
import os
import re
import subprocess

import pytest
from conftest import DATA, MEASURED, SOURCE

NUMBER = r"(-?[\d.]+)(?:\(\d+\))?"  # with its standard error, where it has one


def output(variable):
    return subprocess.run([os.environ[variable]], stdout=subprocess.PIPE, check=True, text=True).stdout


def test_calibrated_image():
    assert output("CALIBRATED_IMAGE") == """\
5 x 4 pixels over [1, 3.5) x [0.5, 2.5) mm
[121, 257, 331, 257, 121]
[257, 545, 700, 545, 257]
[331, 700, 900, 700, 331]
[257, 545, 700, 545, 257]
row at y = 1.5 mm: [331, 700, 900, 700, 331]
relative to its start: [1, 2.1148, 2.71903, 2.1148, 1]
between two pixels, at 2.25 mm: 800
refused: binary1:514: Division by zero.
"""


def test_promotion_table():
    """The tables of docs/types.md are what the library does; that of what the types hold is in words."""
    page = (SOURCE / "docs/types.md").read_text()
    page = page[page.index("\n## What an operation results in"):page.index("\n## Compound assignment")]
    tables = [table for table in page.split("\n\n") if table.startswith("|") and not table.startswith("| of integers")]
    assert "\n".join(tables).split("\n") == [line for line in output("PROMOTION_TABLE").splitlines() if line[:1] == "|"]


# ---- The tour of its own sample ----------------------------------------------------------------------------------------

def flowing(text):
    return " ".join(text.split())


def test_sample(sample, told):
    text, flow = sample, flowing(sample)
    assert text.endswith("\nThe report, with all pictures: a 'deep'/folder/report.html")
    assert max(map(len, text.splitlines())) <= 90
    for line in ("200 + 100 300 uint8 + uint8 int16", "raw - dark uint16 - uint16 int32", "signal / gain int32 / int32 double",
                 "spectrum - background uint16 - double double", "spectrum 1800 uint16 0.01 [0.5, 18.5) keV",
                 "blank 350 uint32 0.04 [1.5, 15.5) keV", "net 1800 double 0.01 [0.5, 18.5) keV"):
        assert line in text
    for words in ("there is nothing more to be found: 10 lines.", "and clipped with trny_max 0.0", "and nobody hears of that"):
        assert words in flow
    for shift in ("made", "cross-correlation", "band-passed cross-correlation", "regs_Register"):
        assert f"\n{shift} 1.70 -0.90\n" in text
    assert text.count("Read back: the same to the last bit") == 2
    # Messages follow each other down the chain, once each.
    assert re.findall(r"^.* says that .*$", text, re.M) == [
        "the range says that it has changed", "the selection says that its ranges have changed",
        "the polynomial says that its fit no longer holds"]
    raw, corrected = re.search(r"the scene: ([\d.]+) % raw, ([\d.]+) % corrected", flow).groups()
    assert float(corrected) < float(raw) / 5
    mean, zero = re.search(r"stands the mean: ([\d.]+); summed up it is ([\d.]+)\. ", flow).groups()
    assert float(zero) == pytest.approx(float(mean), abs=0.01)  # frequency 0
    # The ten lines of the model and no other, each within four of its standard errors.
    fits = re.findall(r"^(\w+ K[ab]) (.*)$", text[text.index("\n5. "):text.index("\n6. ")], re.M)
    pulls = {name: cells.split()[1::2] for name, cells in fits if len(cells.split()) == 4}
    assert set(pulls) >= {"Si Ka", "Ti Ka", "Cr Ka", "Cr Kb", "Fe Ka", "Fe Kb", "Ni Ka", "Cu Ka", "Ni Kb", "Cu Kb"}
    assert all(abs(float(pull)) < 4 for two in pulls.values() for pull in two)
    # Both periods of the lattice, to an element, in either direction.
    found = [complex(float(x), float(y)) for x, y in re.findall(r"^found (\S+) (\S+)$", text, re.M)]
    for period in (1.6 + 0.25j, 0.3 - 1.45j):
        assert min(abs(sign * at - period) for at in found for sign in (1, -1)) < 0.11
    assert "This lattice of spots is the tour's own, whatever the image is." in flow
    assert "what is found is 0.5 elements or less off what was made." in flow
    assert told(out="a 'deep'/folder") == text


@pytest.mark.parametrize("pattern, expected, bound", [
    (r"The mean square of the 20 is @;", 1, 0.7),
    (r"\nFe Ka 6\.40\d*\(\d+\) 0\.13\d*\(\d+\) .* @\n", 1, 0.6),
    (r"Chi-squared per degree of freedom is @, with [^.]* describes the spectrum to within its noise", 1, 0.1),
    (r"square of residual . noise is @, where noise alone gives 1: there the background follows", 1, 0.1),
    # The detector of the model: 60 eV of electronics.
    (r"The fitted slope is @ eV; silicon", 2.33, 0.4),
    (r"Continued to energy 0 the width is @ eV", 60, 12),
    (r"The largest is [\d.]+ at @ keV;", 6.404, 0.03),
    # The background is a power law with exponent -1.6; summed peaks come to the counts of the model, of which the window
    # holds 99.7 %.
    (r"\nCr Ka [\d.]+ to [\d.]+ [\d.]+ to [\d.]+ @", -1.6, 0.1),
    *((rf"\n{line} [\d.]+ to .*\) @ {counts}\n", counts, bound) for line, counts, bound in (
        ("Cr Ka", 52000, 800), ("Cr Kb", 7000, 250), ("Fe Ka", 98000, 1000), ("Fe Kb", 13000, 500), ("Ni Ka", 21000, 500),
        ("Cu Kb", 1250, 150))),
    # The first ring has a radius of 7.2 mm; the rectangle begins where it is 7.2 + 11.95 mm away.
    (r"\nline scan \d+ [\d.]+ @\n", 7.2, 0.15),
    (r"\nprojection \d+ [\d.]+ @\n", 12, 0.3),
])
def test_sample_figures(sample, pattern, expected, bound):
    """@ stands for the one number; lines are broken as it happens."""
    found = re.search(pattern.replace(" ", r"\s+").replace("@", NUMBER), sample)
    assert found and float(found[1]) == pytest.approx(expected, abs=bound)


def part(text, number):
    return text[text.index(f"\n{number}. "):text.index(f"\n{number + 1}. ")]


# ---- The tour of measured data -----------------------------------------------------------------------------------------

@MEASURED
@pytest.mark.parametrize("options, lines, says, says_not", [
    # Co K-alpha, by the description of the measurement. Of a file that says nothing of energy nothing of it is told, and
    # the scattered radiation below channel 3560 is background.
    ("xrf_standard.csv", [(1474, 4)], ["What is wider than a line is background"], "eV"),
    # Chromium and iron K-alpha, by which it is calibrated; nickel K-alpha and K-beta, in the mean of their components;
    # iron K-beta; manganese K-alpha, a third of a width from chromium K-beta; copper.
    ("steel_eds.csv --unit keV --calibration -0.00413,0.0119233",
     [(5.4117, 0.001), (6.3995, 0.001), (7.4724, 0.003), (8.2647, 0.005), (7.0580, 0.005), (5.8951, 0.010), (5.9467, 0.006),
      (8.0411, 0.008)],
     ["so the model describes the spectrum to within", "silicon (w = 3.65 eV, F = 0.115) has 2.33 eV", "the lines leave no such channel",
      "2 lines lie within half a width of another"], None),
    # In other units it is the same spectrum.
    ("steel_eds.csv", [(494.2, 0.6), (498.8, 0.5), (537.1, 0.1)], ["more than 3 errors off: the law holds for the others"], "eV"),
    # Lines that are known to be there are fitted there: without manganese's part chromium K-beta is what it is.
    ("steel_eds.csv --unit keV --calibration -0.00413,0.0119233 --lines 1.74,5.8951", [(5.9467, 0.010)], [], None),
])
def test_measured(told, options, lines, says, says_not):
    name, *options = options.split()
    text = told("--spectrum", DATA / "spectra" / name, "--image", DATA / "images/elevation.pgm", "--pixel", "3,arcsec", *options)
    assert len(re.findall(r"cross-correlation 51\.00 -27\.00$", text, re.M)) == 2
    for words in ("403 x 344 elements of type uint16, over [0, 1209) x [0, 1032) arcsec", "Its values are from 236 to 1076",
                  "there is nothing more to be found", "the background follows the continuum", *says):
        assert words in flowing(text)
    assert says_not is None or says_not not in text
    # The widths that lines have by themselves are told twice, and are the same.
    own = {float(at): width for at, width in re.findall(r"^ *([\d.]+)\(\d+\) +([\d.]+)\(\d+\) ", part(text, 4), re.M)}
    told_again = re.findall(r"^ *([\d.]+) +([\d.]+)\(\d+\) ", part(text, 5), re.M)
    assert len(told_again) == len(own) > 5
    for at, width in told_again:
        digits = min(len(width), 4)
        assert own[min(own, key=lambda other: abs(other - float(at)))][:digits] == width[:digits]
    table = re.sub(r"\(\d+\)|^given ", "", part(text, 4), flags=re.M)
    found = [float(at) for at in re.findall(r"^([\d.]+)(?: \S+){4,}$", table, re.M)]
    for position, bound in lines:
        assert min(abs(at - position) for at in found) < bound
    if "1.74,5.8951" in options:  # of silicon there is no more than noise makes
        counts, error = re.search(r"^given 1\.740\d* .* (\d+)\((\d+)\) [\d.]+$", text, re.M).groups()
        assert float(counts) < 4 * float(error)


@MEASURED
def test_errors_include_what_the_law_of_widths_is_off(told):
    """Iron's K-beta follows the law of other lines, half a percent of whose width is six tenths of a percent of the area."""
    text = told("--spectrum", DATA / "spectra/steel_eds.csv", "--unit", "keV", "--calibration", "-0.00413,0.0119233")
    area, error = map(int, re.search(r"^ *7\.05\d*\(\d+\) +[\d.]+ law .* (\d+)\((\d+)\) +[\d.]+$", part(text, 4), re.M).groups())
    assert 0.004 * area < error < 0.01 * area

