"""What the tour does with arguments and files that are not usable: one line on standard error that says what and where,
exit code 2, and nothing written. Beside each kind of damage stands something like it that is to be taken."""
import os
import pathlib
import re
import resource
import signal
import subprocess
import threading
import time
from fnmatch import fnmatchcase

import pytest
from conftest import TOUR

COUNTS = "".join(f"{i}\n" for i in range(1, 21))
POINTS = "".join(f"0.{10 + i}, {i}\n" for i in range(1, 21))
PIXELS = "".join(f"{i} " for i in range(1, 17))
BYTES = "0123456789abcdef"


def short(value):
    return repr(value)[:40]


def written(path, content):
    path.write_bytes(content if isinstance(content, bytes) else content.encode("latin-1"))


def emsa(*keywords, end="#ENDOFDATA :\n"):
    """The exchange format: a header with these keywords, and 20 counts."""
    lines = "".join(f"{line}\n" for line in keywords)
    return f"#FORMAT      : EMSA/MAS Spectral Data File\n#VERSION : 1.0\n{lines}#SPECTRUM : here\n{COUNTS}{end}"


def columns(head, separator, end="\n", step=lambda i: f"0.{10 + i}", last=""):
    return head + "\n" + "".join(f"{step(i)}{separator}{i}{last}{end}" for i in range(1, 21))


def refused(tour, expected, *arguments, **options):
    out = () if any(str(argument).startswith("--out") for argument in arguments) else ("--out", "out")
    done = tour(*out, *arguments, **options)
    assert fnmatchcase(done.stderr, f"tour: {expected}\n"), done.stderr
    assert (done.returncode, done.stderr.count("\n"), done.stdout) == (2, 1, "")


ARGUMENTS = [
    ("unknown argument '--colour'; --help says what there is", "--colour"),
    ("unknown argument 'file.csv'*", "file.csv"),
    ("unknown argument '--spectrumm=a'*", "--spectrumm=a"),
    ("unknown argument '???'*", "\x1b\n\t"),
    ("--spectrum needs a value", "--spectrum"),
    ("--image needs a value", "--image"),
    ("--image needs a value that is not empty", "--image", ""),
    ("--spectrum needs a value that is not empty", "--spectrum="),
    ("cannot use 'good' for the report: *", "--out", "good"),
    ("cannot use 'good/below' for the report: *", "--out=good/below"),
    ("cannot write 'full/report.html': Is a directory", "--out", "full"),
    ("missing: cannot be opened: *", "--spectrum", "good", "--image", "missing"),
    ("new?line: cannot be opened: *", "--spectrum", "new\nline"),
    ("--unit keV needs a calibration, and the file has none: --calibration OFFSET,DELTA", "--spectrum", "good", "--unit", "keV"),
    ("--unit: found 'J', expected keV, eV or channel", "--spectrum", "good", "--unit", "J"),
    ("--calibration: found '1', expected OFFSET,DELTA with a DELTA above 0", "--spectrum", "good", "--calibration", "1"),
    ("--calibration: found '1,0', expected *", "--spectrum", "good", "--calibration", "1,0"),
    ("--calibration: found 'x', expected *", "--spectrum", "good", "--calibration", "x,1"),
    ("--resolution: found '3', expected FWHM@POSITION with a FWHM above 0", "--spectrum", "good", "--resolution", "3"),
    ("--resolution: found '-3@1', expected *", "--spectrum", "good", "--resolution", "-3@1"),
    ("--range: found '5,5', expected FROM,TO with TO above FROM", "--spectrum", "good", "--range", "5,5"),
    ("--range has 5 channels of the spectrum, which reaches from 0 to 20; expected 16 or more", "--spectrum", "good", "--range", "5,10"),
    ("--range has 0 channels of the spectrum, *", "--spectrum", "good", "--range", "50,100"),
    ("--lines: found '', expected positions between commas: 5.9,6.4", "--spectrum", "good", "--lines", "5,"),
    ("--lines: 20 is outside of the spectrum, from 0 to 20", "--spectrum", "good", "--lines", "20"),
    ("--lines: 5 and 5.5 are less than a channel apart", "--spectrum", "good", "--lines", "5,9,5.5"),
    ("--pixel: found '3', expected SIZE,UNIT with a SIZE above 0: 0.5,mm", "--pixel", "3"),
    *(("--calibration: found '*', expected OFFSET,DELTA with *", "--spectrum", "good", "--calibration", value)
      for value in ("0,1e-300", "0,1e300", "1e300,1", "1e10,1e-10", "-1e10,1e-10")),
    *((f"--resolution: *{found}*", "--spectrum", "good", "--resolution", value) for value, found in (
        ("1e300@2", "expected FWHM@POSITION"), ("20@2", "20 is none of a line here: the spectrum reaches from 0 to 20"),
        ("0.2@2", "in channels of 1"), ("3@1e9", "1e+09 is far away"), ("3@-21", "-21 is far away"))),
    ("--unit channel and --calibration exclude each other: *", "--spectrum", "good", "--unit", "channel", "--calibration", "0,2"),
    ("--spectrum is given twice", "--spectrum", "good", "--spectrum=good"),
    ("--out is given twice", "--out", "there", "--out=here"),
    ("--spectrum needs a value, and found '--image'; write --spectrum=--image *", "--spectrum", "--image", "good"),
    ("--pixel: found '1e300,m', expected SIZE,UNIT with a SIZE from 1e-30 to 1e30", "--pixel", "1e300,m"),
    ("--unit, --calibration, --resolution, --range and --lines need a --spectrum *", "--lines", "5"),
    ("--pixel needs an --image that it is about", "--pixel", "3,mm"),
    *((expected, option, name) for option in ("--spectrum", "--image") for expected, name in (
        ("missing: cannot be opened: No such file or directory", "missing"),
        ("good/below: cannot be opened: Not a directory", "good/below"),
        ("full: cannot be read: it is a directory", "full"),
        ("/proc/self/mem: cannot be read", "/proc/self/mem"))),
]


@pytest.mark.parametrize("expected, arguments", [(case[0], case[1:]) for case in ARGUMENTS], ids=short)
def test_arguments_refused(tour, tmp_path, expected, arguments):
    written(tmp_path / "good", COUNTS)
    (tmp_path / "full/report.html").mkdir(parents=True)
    refused(tour, expected, *arguments)
    assert sorted(path.name for path in tmp_path.iterdir()) == ["full", "good"]


ONE = "expected one value, as in the lines before"
SPECTRA_REFUSED = {
    "s:15:3: the file ends after 15 values; *": "".join(f"{i}\n" for i in range(1, 16)),
    "s:1:1: the file ends after 0 values; at least 16 are needed": "",
    "s:2:11: the file ends after 0 values; *": "# only\n# comments\n",
    "s:3:2: the file ends after 3 values; *": "1\n2\n3\n",
    f"s:21:1: found 'abc', {ONE}": COUNTS + "abc\n",
    "s:23:1: found '12x', expected one value*": COUNTS + "\n# comment\n12x\n",
    f"s:21:3: found two values, {ONE}": COUNTS + "1 2\n",
    **{f"s:21:1: *'{text}'*, {ONE}": f"{COUNTS}{text}\n"
       for text in ("nan", "inf", "-inf", "0x10", "1e", "1..2", "--", "+-3", "++3", "+")},
    **{f"s:21:1: '{text}' is out of range, expected *": f"{COUNTS}{text}\n" for text in ("1e16", "-1e16", "1e400", "1e-400")},
    "s:21:1: found '???', expected *": COUNTS + "\0\1\2\n",
    "s:21:4001: the line is longer than 4000 characters": COUNTS + 4001 * "#",
    f"s:21:3: found two values, {ONE}*": COUNTS + "1,2\n",
    's:21:1: found one value, expected "x,y", as in the lines before': POINTS + "5\n",
    's:21:1: found one value, expected "x,y"*': POINTS + "0.31,\n",
    's:21:1: found nothing, expected "x,y", as in the lines before': POINTS + ",5\n",
    "s:21:8: found '2', expected *": POINTS + "0.31,1,2\n",
    "s:21:1: x is the same as in the line before": POINTS + "0.30,1\n",
    "s:21:1: x does not go on in one direction": POINTS + "0.29,1\n",
    "s:21:1: x is not evenly spaced: *": POINTS + "0.41,1\n",
    "s:20:1: x increases by less than 1e-30 at a step": "".join(f"{i}e-31,1\n" for i in range(1, 21)),
    's:2:1: found \'def\', expected "x,y" or one value': "abc\ndef\n" + COUNTS,
    "s:24:3: the header announces 21 points, and the file has 20 and no #ENDOFDATA": emsa("#NPOINTS : 21", end=""),
    "s:3:13: found 'ten', expected a number for the keyword 'xperchan'": emsa("#XPERCHAN : ten"),
    "s:3:13: found '0', expected a step per channel above 0": emsa("#XPERCHAN : 0"),
    "s:3:11: found '-0,1', expected a number for the keyword 'offset'": emsa("#OFFSET : -0,1"),
    "s:3:12: found '-20', expected a number of points": emsa("#NPOINTS : -20"),
    "s:1:9: found 'fast', expected a number for the keyword 'offset'": "#OFFSET:fast\n" + emsa(),
    "s:2:2: found a decimal comma, expected \"x,y\" or one value, with decimal points": "energy;counts\n0,11;3\n",
    "s:1:3: found a decimal comma, *": "10,5\t3\n",
    "s:15:1: found 'twelve', expected a value or #ENDOFDATA": emsa().replace("\n12\n", "\ntwelve\n"),
    "s:1:11: found 'something else', expected 'EMSA/MAS Spectral Data File'": "#FORMAT : something else\n" + COUNTS,
}
IMAGES_REFUSED = [
    ("i:1:1: this is no PGM, PNG or TIFF image: it begins with ''", ""),
    ("i: is damaged: *", "\x89PNG\r\n" + BYTES),
    ("i: is damaged: *", "II*\0" + BYTES),
    ("i:1:1: this is no PGM, PNG or TIFF image: *", "P6\n4 4\n255\n" + BYTES),
    ("i:1:1: this is no PGM, PNG or TIFF image: *", "P55\n4 4\n255\n" + BYTES),
    ("i:1:1: this is no PGM, PNG or TIFF image: it begins with '????????????????????...'", 100 * "\0"),
    ("i:2:1: the file ends where the width should stand", "P5\n"),
    ("i:2:2: the file ends where the height should stand", "P5\n4"),
    ("i:2:26: the file ends where the largest value should stand", "P5\n4 4 # comment without end"),
    ("i:2:1: the width is '-4', which is not a whole number", "P5\n-4 4\n255\n" + BYTES),
    ("i:3:1: the height is '4.5', which is not a whole number", "P5\n4\n4.5\n255\n" + BYTES),
    ("i:2:1: the width is 0, outside 4 to 2147483647", "P5\n0 4\n255\n" + BYTES),
    ("i:2:3: the height is 3, outside *", "P5\n4 3\n255\n" + BYTES),
    ("i:2:3: the height is 2147483648, outside *", "P5\n4 2147483648\n255\n" + BYTES),
    ("i:2:3: the height is 9999999999999999999, outside *", "P5\n4 9999999999999999999\n255\n" + BYTES),
    ("i:2:3: '12345678901234567890...' is not a number", "P5\n4 123456789012345678901\n255\n" + BYTES),
    ("i:2:7: the size is 65536 x 32768, more than 2147483647 pixels", "P5\n65536 32768\n255\n" + BYTES),
    ("i:3:1: the largest value is 0, outside 1 to 65535", "P5\n4 4\n0\n" + BYTES),
    ("i:3:1: the largest value is 65536, outside *", "P5\n4 4\n65536\n" + BYTES),
    ("i:4:1: the file ends after 16 of 4 x 5 pixels", "P5\n4 5\n255\n" + BYTES),
    ("i:4:1: pixel 1 is 12337, more than the largest value 256 *", "P5\n4 4\n256\n" + BYTES),
    ("i:4:1: the file ends after 8 of 4 x 4 pixels", "P5\n4 4\n65535\n" + BYTES),
    ("i:4:1: pixel 15 is 101, *", "P5\n4 4\n100\n" + BYTES),
    ("i:4:1: there is more in the file than *", f"P5\n4 4\n255\nx{BYTES}"),
    ("i:4:1: there is more in the file than *", f"P5\n4 4\n255\nfour more rows and{BYTES}"),
    ("i:4:1: there is more in the file than *", f"P5\n4 4\n255\nthirty-two_more_pixels_in_a_word{BYTES}"),
    ("i:4:37: pixel 16 of 4 x 4 pixels is 16, outside 0 to 15", f"P2\n4 4\n15\n{PIXELS}"),
    ("i:4:40: the file ends where pixel 17 of 4 x 5 pixels should stand", f"P2\n4 5\n16\n{PIXELS}"),
    ("i:5:3: pixel 5 of 4 x 4 pixels is 'x', which is not a whole number", f"P2\n4 4\n16\n1 2 3\n4 x 6{PIXELS}"),
    ("i:4:37: there is more in the file than *", f"P2\n4 4\n16\n{PIXELS}\n17"),
]


@pytest.mark.parametrize("name, expected, content", [
    *(("s", *case) for case in SPECTRA_REFUSED.items()), *(("i", *case) for case in IMAGES_REFUSED)], ids=short)
def test_files_refused(tour, tmp_path, name, expected, content):
    written(tmp_path / name, content)
    refused(tour, expected, {"s": "--spectrum", "i": "--image"}[name], name)
    assert not (tmp_path / "out").exists()


def test_a_spectrum_of_more_channels_than_there_is_time_for(tour, told, tmp_path):
    written(tmp_path / "s", "3\n" * 16385)
    refused(tour, "the spectrum has 16385 channels, expected 16384 or fewer; --range FROM,TO takes a part of it", "--spectrum", "s")
    told("--spectrum", "s", "--range", "0,1000")


def test_a_program_is_no_spectrum(tour, tmp_path):
    written(tmp_path / "s", pathlib.Path(TOUR).read_bytes())
    refused(tour, "s:1:*", "--spectrum", "s")


SPECTRA_TAKEN = {
    COUNTS: "There is no line of 5 standard errors", # it rises, without a peak
    "\xef\xbb\xbf" + COUNTS: "",
    f"# comment\n\n{COUNTS}  7 # comment\n\t8\r\n+9\n1e3\n0.5\n-3": "",
    POINTS: "",
    "".join(f"{i}\n" for i in range(1, 17)): "",
    f"{COUNTS}{4000 * '#'}\n1\n": "",
    "".join(f"{i}e-29,1\n" for i in range(1, 21)): "",
    "abc\n" + COUNTS: "",
    # Columns in the ways that people write them, with names and units; the last has falling positions.
    **{columns("energy / keV,counts", separator): "channel 100 lies at 1.11; energy / keV"
       for separator in (",", ";", " ; ", "\t", " ", "  ,")},
    columns('"Energy [eV]";"Counts"', '";"', '";\r\n', lambda i: f'"{10 * i}'): "energy / eV",
    columns("# E (keV), counts", ",", step=lambda i: f"0.{31 - i}"): "channel 100 lies at 1.11",
    emsa("#NPOINTS : 20", "#XPERCHAN : 10.0", "#OFFSET : -50", "#XUNITS : eV", "#DATATYPE : Y", "#SIGNALTYPE : EDS"):
        "channel 100 lies at 950.; energy / eV",
    emsa("#npoints: 20.", "#xperchan  -kev: 0.01", "#xunits: KEV"): "channel 100 lies at 1.; energy / keV",
    emsa("#XPERCHAN : 2 eV", "#CHOFFSET : 5", "#XUNITS : eV"): "channel 100 lies at 190.",
    emsa(): "channel 100 lies at 100.",
    # The rows of spreadsheets, names in quotes, units after blanks and underscores.
    columns("energy / keV,counts,,", ",", last=",,") + ",,\n": "channel 100 lies at 1.11; energy / keV",
    columns('"Energy, keV","Counts"', ","): "energy / keV",
    columns("energy keV counts", " "): "energy / keV",
    columns("energy_keV,counts", ","): "energy / keV",
    columns("one, two, three", ","): "About the file: the names of the columns, 'one, two, three', are not two",
    # Headers that say the same in other places, twice, or in contradiction.
    "#TITLE : first\n" + emsa("#XPERCHAN : 10", "#XUNITS : eV"): "channel 100 lies at 1000; energy / eV",
    "# format: x, y\n" + POINTS: "",
    emsa("#XPERCHAN -eV : 10"): "energy / eV",
    emsa("#XPERCHAN : 0.01", "#XUNITS : Energy (keV)"): "channel 100 lies at 1; energy / keV",
    emsa("#XPERCHAN -keV : 10", "#XUNITS : eV"): "XUNITS of the header says 'eV' and XPERCHAN 'keV', and XUNITS holds",
    emsa("#XPERCHAN : 1", "#XPERCHAN : 2"): "the keyword xperchan more than once",
    emsa("#XPERCHAN : 1", "#OFFSET : 5", "#CHOFFSET : 7"): "OFFSET and CHOFFSET of the header do not agree",
    emsa("#XPERCHAN : 1", "#OFFSET : -7", "#CHOFFSET : 7"): "channel 100 lies at 93",
    f"#FORMAT : EMSA/MAS\n#XPERCHAN : 1\n#DATATYPE : XY\n#SPECTRUM\n{POINTS}#ENDOFDATA\n":
        "XPERCHAN of the header is not the step of the pairs",
    emsa("#NPOINTS : 21"): "the header announces 21 points, and the file has 20",
    f"#FORMAT : EMSA/MAS\n#NPOINTS : 20\n#DATATYPE : XY\n#XUNITS : keV\n#SPECTRUM\n{POINTS}#ENDOFDATA\n":
        "channel 100 lies at 1.11",
    "#FORMAT : EMSA/MAS\n#NPOINTS : 20\n#NCOLUMNS : 5\n#SPECTRUM\n" +
    "".join(", ".join(str(i + k) for k in range(5)) + ",\n" for i in (1, 6, 11, 16)) + "#ENDOFDATA\n": "",
}


@pytest.mark.parametrize("content, says", SPECTRA_TAKEN.items(), ids=short)
def test_spectra_taken(told, tmp_path, content, says):
    written(tmp_path / "s", content)
    flow = " ".join((told("--spectrum=s") + (tmp_path / "out/report.html").read_text()).split())
    for part in says.split("; "):
        assert part in flow


@pytest.mark.parametrize("options, says", [
    ("--unit keV", "channel 100 lies at 1.01.; energy / keV"),
    ("--unit channel", "channel 100 lies at 100"),
    ("--unit keV --calibration -0.1,0.01", "channel 100 lies at 0.9.; energy / keV"),
    ("--range 20,190 --resolution 4@100 --lines 50,75", ""),
    ("--resolution 30@-50", "")])
def test_options_taken(told, tmp_path, options, says):
    written(tmp_path / "s", columns('"Energy [eV]";"Counts"', '";"', '";\r\n', lambda i: f'"{10 * i}'))
    flow = " ".join((told("--spectrum", "s", *options.split()) + (tmp_path / "out/report.html").read_text()).split())
    for part in says.split("; "):
        assert part in flow


def test_a_range_begins_between_channels(told, tmp_path):
    """Positions are those of the channels, wherever the range begins."""
    peak = [100 + round(5000 * 2 ** -((i - 120) / 3) ** 2) for i in range(300)]
    written(tmp_path / "s", "".join(f"{10 + 2 * i},{count}\n" for i, count in enumerate(peak)))
    text = told("--spectrum", "s", "--range", "50.7,500")
    assert 249.9 < float(re.search(r"^(2\d\d\.\d+)\(\d+\) ", text, re.M)[1]) < 250.1


@pytest.mark.parametrize("content", [
    "P5\n4 4\n255\n" + BYTES, "P5 4 4 255 " + BYTES, "P5\n# comment\n4 # width\n4\n# 12 13\n255\n" + BYTES,
    "P5\n4 4\n65535\n" + 16 * "\x01\xff", "P2\n4 4\n16\n" + PIXELS, f"P2\n4 4\n65535\n# comment\n{PIXELS}\n# the end\n",
    "P2\n4 4\n255\n" + 16 * "0 "], ids=short)
def test_images_taken(told, tmp_path, content):
    written(tmp_path / "i", content)
    told("--image", "i")


@pytest.mark.parametrize("content, expected", [
    ("P5\n65535 32767\n65535\n", "i:4:1: the file ends after 0 of 65535 x 32767 pixels"),
    ("P2\n65535 32767\n65535\n1 2", "i:4:4: the file ends where pixel 3 of 65535 x 32767 pixels should stand")])
def test_a_size_that_is_merely_claimed_costs_nothing(tour, tmp_path, content, expected):
    """It would be 4 GiB, where 1 GB may be used. AddressSanitizer itself takes more, and then there is no limit."""
    limit = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_AS, (10**9, 10**9))}
    if tour("--help", **limit).returncode != 0:
        limit = {}
    written(tmp_path / "i", content)
    refused(tour, expected, "--image", "i", **limit)


def test_a_slow_file_is_read_in_silence(tour):
    reading, writing = os.pipe()

    def write():
        with os.fdopen(writing, "w") as file:
            file.write(COUNTS)
            file.flush()
            time.sleep(1.1)
            file.write("".join(f"{i}\n" for i in range(1, 601)) + "end\n")
    thread = threading.Thread(target=write)
    thread.start()
    refused(tour, "/dev/fd/*:621:1: found 'end', expected *", "--spectrum", f"/dev/fd/{reading}", pass_fds=(reading,))
    thread.join()
    os.close(reading)


# ---- What cannot be written --------------------------------------------------------------------------------------------

@pytest.mark.skipif(not os.access("/dev/full", os.W_OK), reason="there is no /dev/full")
def test_a_full_disk(tour, tmp_path):
    with open("/dev/full", "w") as full:
        done = tour("--out", "out", stdout=full)
    assert (done.returncode, done.stderr.count("\n"), list((tmp_path / "out").iterdir())) == (1, 1, [])
    brimming = tmp_path / "brimming"
    brimming.mkdir()
    (brimming / "report.html.part").symlink_to("/dev/full")
    done = tour("--out", "brimming")
    assert (done.returncode, done.stderr) == (1, "tour: 'brimming/report.html' could not be written\n")
    assert not list(brimming.iterdir())


@pytest.mark.skipif(not os.access("/dev/full", os.W_OK), reason="there is no /dev/full")
def test_help_on_a_full_disk(tour):
    with open("/dev/full", "w") as full:
        done = tour("--help", stdout=full)
    assert (done.returncode, done.stderr) == (1, "tour: the text could not be written to standard output\n")


@pytest.mark.parametrize("closed, code", [((1,), 1), ((2,), 0), ((0,), 0), ((0, 1, 2), 1)])
def test_standard_streams_that_are_closed(tour, tmp_path, closed, code):
    """No file comes in their place: the report is whole, or there is none."""
    done = tour("--out", "out", preexec_fn=lambda: [os.close(stream) for stream in closed])
    assert (done.returncode, done.stderr.count("\n")) == (code, closed == (1,))
    left = {path.name: path.read_text() for path in (tmp_path / "out").iterdir()}
    assert list(left) == ["report.html"][code:]
    assert all(text.startswith("<!DOCTYPE html>") and text.endswith("</html>\n") for text in left.values())


def test_a_file_that_may_not_grow(tour, tmp_path):
    done = tour("--out", "out", preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (50000, 50000)))
    assert (done.returncode, done.stderr) == (1, "tour: 'out/report.html' could not be written\n")
    assert not list((tmp_path / "out").iterdir())


@pytest.mark.parametrize("ending", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_an_end_from_outside(tmp_path, ending):
    with subprocess.Popen([TOUR, "--out", "out"], cwd=tmp_path, stdout=subprocess.PIPE, text=True) as process:
        process.stdout.readline()  # the report has begun
        assert [path.name for path in (tmp_path / "out").iterdir()] == ["report.html.part"]
        process.send_signal(ending)
        process.stdout.read()
    assert (process.returncode, list((tmp_path / "out").iterdir())) == (-ending, [])


def test_a_closed_output(tmp_path):
    with subprocess.Popen([TOUR, "--out", "out"], cwd=tmp_path, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
        process.stdout.close()
        process.stderr.read()
    assert (process.returncode, list((tmp_path / "out").iterdir())) == (1, [])


def test_help(tour, tmp_path):
    done = tour("--help")
    assert (done.returncode, done.stderr, list(tmp_path.iterdir())) == (0, "", [])
    for word in ("--spectrum FILE", "--image FILE", "--out DIR", "report.html", "Exit codes"):
        assert word in done.stdout
