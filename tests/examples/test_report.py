"""The report of the tour. As a file it is well-formed, needs no other file, has all that is told on the terminal, and its
pictures are whole. In a browser, on a telephone and on a desktop, light and dark, everything is drawn, legible and within
the window, and nothing is asked for."""
import base64
import json
import math
import os
import pathlib
import random
import re
import struct
import xml.etree.ElementTree as ElementTree
import zlib

import browser
import pytest
from conftest import DATA, MEASURED

LOOK = pathlib.Path(__file__).with_name("look.js").read_text()


def text_of(element):
    return " ".join("".join(element.itertext()).split())


def parsed(path):
    text = path.read_text()
    assert text.startswith("<!DOCTYPE html>\n<html")
    return ElementTree.fromstring(text.removeprefix("<!DOCTYPE html>\n"))


def check_alone(page):
    """Nothing is fetched and nothing is run."""
    for element in page.iter():
        assert element.tag not in ("script", "link", "iframe", "object", "embed", "base")
        for name, value in element.attrib.items():
            assert not name.startswith("on")
            if name in ("src", "href", "srcset", "poster", "data"):
                assert value.startswith(("#", "data:image/png;base64,"))
    for style in page.iter("style"):
        assert not re.search(r"url\(|@import", style.text)
    assert [meta.get("content") for meta in page.iter("meta") if meta.get("http-equiv") == "Content-Security-Policy"] == [
        "default-src 'none'; style-src 'unsafe-inline'; img-src data:"]


def decoded(address):
    """The rows of a picture that size_of_png() takes."""
    width, height, _ = size_of_png(address)
    data = base64.b64decode(address.split(",", 1)[1])
    at, content = 8, b""
    while at < len(data):
        length, name = struct.unpack(">I4s", data[at:at + 8])
        content += data[at + 8:at + 8 + length] if name == b"IDAT" else b""
        at += 12 + length
    rows = zlib.decompress(content)
    return [rows[1 + y * (width + 1):(y + 1) * (width + 1)] for y in range(height)]


def size_of_png(address):
    """Its parts have the right check sums, and its pixels are all there: width, height, how many bytes differ."""
    data = base64.b64decode(address.split(",", 1)[1], validate=True)
    assert data[:8] == b"\x89PNG\r\n\x1a\n"
    at, parts = 8, {}
    while at < len(data):
        length, name = struct.unpack(">I4s", data[at:at + 8])
        content = data[at + 8:at + 8 + length]
        assert struct.unpack(">I", data[at + 8 + length:at + 12 + length]) == (zlib.crc32(name + content),)
        parts[name] = parts.get(name, b"") + content
        at += 12 + length
    assert {b"IHDR", b"PLTE", b"IDAT", b"IEND"} <= set(parts)
    width, height = struct.unpack(">II", parts[b"IHDR"][:8])
    assert parts[b"IHDR"][8:] == bytes([8, 3, 0, 0, 0]) and len(parts[b"PLTE"]) == 768  # 256 colours
    rows = zlib.decompress(parts[b"IDAT"])
    assert len(rows) == height * (width + 1) and not any(rows[::width + 1])  # no row is filtered
    return width, height, len(set(rows))


def check_pictures(page):
    for number, figure in enumerate(page.iter("figure"), 1):
        assert text_of(figure.find("figcaption")).startswith(f"Figure {number}. ")
        pictures = [svg for svg in figure.iter("svg") if svg.get("aria-hidden") != "true"]
        assert pictures
        for svg in pictures:
            assert svg.get("role") == "img" and len(svg.get("aria-label", "")) > 40
            names = [text for text in svg.iter("text") if "name" in text.get("class", "")]
            assert len(names) >= 2 and all(map(text_of, names))
            assert len([text for text in svg.iter("text") if text.get("class", "").split()[:1] in (["left"], ["below"])]) >= 4
            images = [size_of_png(image.get("href")) for image in svg.iter("image")]
            paths = [(path.get("class", ""), path.get("d")) for path in svg.iter("path")]
            curves = [(kind, d) for kind, d in paths if "curve" in kind]
            if images:
                (width, height, colours), bar = images
                assert width >= 64 and height >= 64 and colours > 3 and bar == (256, 1, 256)
            else:
                assert curves
            for kind, d in curves:
                assert d.count("M") + d.count("L") > 50 or "dots" in kind
                assert not re.search(r"nan|inf|e", d)


def check_steps(page, terminal):
    """Each step has its heading, something said, and a link; all that the terminal says is there."""
    sections = page.findall("body/main/section")
    assert [text_of(section.find("h2")) for section in sections] == re.findall(r"^\d+\. .*", terminal, re.MULTILINE)
    for section, link in zip(sections, page.iter("a"), strict=True):
        assert link.get("href") == "#" + section.get("id")
        assert any(len(text_of(p)) > 40 for p in section.findall("p"))
        assert any(section.find(".//" + tag) is not None for tag in ("figure", "table", "pre"))
    squeezed = text_of(page.find("body")).replace(" ", "")
    apart = re.sub(r"\[figure (\d+): ([^]]*)\]", lambda m: f"Figure {m[1]}. {' '.join(m[2].split())}", terminal)
    for line in apart.splitlines():  # the cells of a table follow each other without blanks
        assert line.startswith("The report, with all pictures: ") or "".join(line.split()) in squeezed
    for table in page.iter("table"):
        heads, rows = table.findall("thead/tr/th"), table.findall("tbody/tr")
        assert len(text_of(table.find("caption"))) > 5 and len(heads) > 1 and rows and all(map(text_of, heads))
        assert all(len(row.findall("td")) == len(heads) for row in rows)


def test_file(tour, tmp_path):
    done = tour()
    assert (done.returncode, done.stderr) == (0, "")
    report = tmp_path / "tour-out/report.html"
    assert [path.name for path in report.parent.iterdir()] == ["report.html"]
    page = parsed(report)
    check_alone(page)
    names = {meta.get("name"): meta.get("content") for meta in page.iter("meta")}
    assert (page.get("lang"), names["viewport"], names["color-scheme"], page.find("head/meta[@charset]").get("charset")) == (
        "en", "width=device-width, initial-scale=1", "light dark", "utf-8")
    assert text_of(page.find("head/title")) == "A tour of DataProcessing" and len(list(page.iter("h1"))) == 1
    check_pictures(page)
    assert len(list(page.iter("figure"))) == 15
    check_steps(page, done.stdout)
    before = report.read_bytes()
    tour()
    assert report.read_bytes() == before


def test_file_of_strange_input(tour, tmp_path):
    """Names of files are shown as they are, whatever is in them, and numbers that leave nothing of an axis are drawn all
    the same."""
    path = os.fsencode(tmp_path) + b"/<b>&amp;\"' \xc3\xa4 \xff \xed\xa0\x80"
    with open(path, "wb") as file:
        file.writelines(b"%de-323\n" % i for i in range(1, 1001))
    assert tour(b"--spectrum=" + path).returncode == 0
    page = parsed(tmp_path / "tour-out/report.html")
    check_alone(page)
    check_pictures(page)
    assert text_of(page.findall("body/header//td")[1]) == f"{tmp_path}/<b>&amp;\"' ä � ���"


def spectrum(file, begin, step, size, lines, head="x, counts", level=200):
    """Gaussian lines (position, width, height) over a level, without noise."""
    def value(x):
        return level + sum(height * math.exp(-4 * math.log(2) * ((x - at) / width) ** 2) for at, width, height in lines)
    positions = [begin + i * step for i in range(size)]
    file.write_text(f"{head}\n" + "".join(f"{x:.6g},{value(x):.0f}\n" for x in positions))
    return file


def test_names_of_lines(tour, tmp_path):
    """Where there is room for one name only the stronger line has it, and no curve runs through a name."""
    file = spectrum(tmp_path / "s", 0, 1, 1000, [(300, 6, 900), (312, 6, 40000), (600, 6, 5000), (613, 6, 700)])
    assert tour("--spectrum", file).returncode == 0
    figures = [svg for svg in parsed(tmp_path / "tour-out/report.html").iter("svg") if svg.find("text[@class='mark']") is not None]
    assert figures
    for svg in figures:
        names = svg.findall("text[@class='mark']")
        assert [round(float(name.text)) for name in sorted(names, key=lambda name: float(name.text))] == [312, 600]
        lowest = max(float(re.search(r"translate\(\S+ (\S+)\)", name.get("transform"))[1]) for name in names)
        for path in svg.findall("path"):
            if "curve" in path.get("class"):
                assert min(float(y) for y in re.findall(r"[ML][\d.]+ ([\d.]+)", path.get("d"))) > lowest


def test_values_that_are_no_counts(tour, tmp_path):
    """A difference has negative values and no counts: no axis speaks of these, and nothing is cut by a logarithm."""
    random.seed(3)
    lines = [200 * math.exp(-4 * math.log(2) * ((x - 300) / 8) ** 2) for x in range(1000)]
    (tmp_path / "s").write_text("".join(f"{line - 5 + random.gauss(0, 1):.3f}\n" for line in lines))
    done = tour("--spectrum", "s")
    assert done.returncode == 0 and "net > 5 x the noise of a value holds in" in " ".join(done.stdout.split())
    page = parsed(tmp_path / "tour-out/report.html")
    step = next(section for section in page.iter("section") if "Ranges, a polynomial" in text_of(section.find("h2")))
    assert step.find(".//figure") is not None
    assert "counts per channel" not in text_of(page)
    labels = [svg.get("aria-label", "") for svg in page.iter("svg")]
    assert [label for label in labels if "logarithmic" in label and "frequency" not in label] == []


@pytest.mark.parametrize("shape, holds", [(lambda x: math.exp(-((x - 300) / 8) ** 2), True), (lambda x: abs(x - 300) < 8, False)],
                         ids=["Gaussian", "box"])
def test_a_fit_that_does_not_hold_is_said_and_shaded(tour, tmp_path, shape, holds):
    random.seed(4)
    expected = [100 + 2000 * shape(x) for x in range(600)]
    (tmp_path / "s").write_text("".join(f"{max(0, round(random.gauss(mean, math.sqrt(mean))))}\n" for mean in expected))
    flow = " ".join(tour("--spectrum", "s").stdout.split())
    page = parsed(tmp_path / "tour-out/report.html")
    step = next(section for section in page.iter("section") if "fitted together" in text_of(section.find("h2")))
    for words in ("the model does not describe the spectrum to within its noise", "chi-squared is above 2",
                  "shaded where that is more than noise"):
        assert (words in flow) != holds
    assert [svg.find("rect[@class='band']") is None for svg in step.iter("svg") if svg.get("role") == "img"] == [holds] * 2


def test_rows_of_images_run_downwards(tour, tmp_path):
    """Row 0 is at the top, as is said: in the picture and on its axis."""
    rows = [bytes(255 - 3 * y if x % 2 else 250 - 3 * y for x in range(80)) for y in range(80)]
    (tmp_path / "i").write_bytes(b"P5\n80 80\n255\n" + b"".join(rows))
    assert tour("--image", "i").returncode == 0
    page = parsed(tmp_path / "tour-out/report.html")
    svg = next(svg for svg in page.iter("svg") if svg.get("aria-label", "").startswith("Image: the image."))
    labels = sorted((float(text.text.replace("−", "-")), float(text.get("y"))) for text in svg.findall("text[@class='left']"))
    assert len(labels) > 3 and labels == sorted(labels, key=lambda label: label[1])
    picture = decoded(svg.find("image").get("href"))
    assert min(picture[0]) > max(picture[-1])  # the brightest row is row 0


def test_errors_are_drawn(tour, tmp_path):
    assert tour().returncode == 0
    page = parsed(tmp_path / "tour-out/report.html")
    step = next(section for section in page.iter("section") if "The widths of the lines" in text_of(section.find("h2")))
    bars, = [path for path in step.iter("path") if "bars" in path.get("class", "")]
    points, = [path for path in step.iter("path") if "points" in path.get("class", "") and path.get("d").count("M") > 3]
    ends = re.findall(r"M(\S+) ([\d.]+)L(\S+) ([\d.]+)", bars.get("d"))
    assert len(ends) == points.get("d").count("M") == len(step.findall(".//tbody/tr"))
    at = {x: float(y) for x, y in re.findall(r"M(\S+) ([\d.]+)h0", points.get("d"))}
    for x, low, same, high in ends:
        assert x == same and (float(low) + float(high)) / 2 == pytest.approx(at[x], abs=0.2)


# ---- In a browser ------------------------------------------------------------------------------------------------------

@pytest.fixture(scope="module")
def chromium():
    found = browser.launched("performance", "browser")
    if found is None:
        pytest.skip("there is no Chromium with its driver and selenium")
    yield found
    found.quit()


def complaints(chromium, url):
    """What the page asked for and what the browser had to say about it."""
    for entry in chromium.get_log("performance"):
        event = json.loads(entry["message"])["message"]
        asked = event["params"].get("request", {}).get("url", url)
        if event["method"] == "Network.requestWillBeSent" and asked != url and not asked.startswith("data:"):
            yield "asks for " + asked
    for entry in chromium.get_log("browser"):
        yield "makes the browser say: " + entry["message"]


@pytest.mark.parametrize("arguments", [
    [],
    ["--spectrum", "levels"],
    ["--spectrum", "edge"],
    pytest.param(["--spectrum", DATA / "spectra/xrf_standard.csv", "--image", DATA / "images/elevation.pgm"], marks=MEASURED),
    pytest.param(["--spectrum", DATA / "spectra/steel_eds.csv", "--unit", "keV", "--calibration", "-0.00413,0.0119233"], marks=MEASURED),
], ids=["sample", "corner", "edge", "channels", "keV"])
def test_browser(chromium, tour, tmp_path, arguments):
    # Labels in the corner of two axes, and at the end of one.
    spectrum(tmp_path / "levels", 280, 0.05, 400, [(284.8, 1.1, 8000), (286.3, 1.1, 2500), (288.9, 1.2, 1200)], level=100)
    spectrum(tmp_path / "edge", 6300, 0.25, 801, [(6403.8, 4, 9000), (6390.8, 4.2, 4500)], level=50)
    assert tour(*arguments).returncode == 0
    url = (tmp_path / "tour-out/report.html").as_uri()
    for width, height in ((390, 844), (320, 640), (768, 1024), (1280, 900)):
        for scheme in ("light", "dark"):
            browser.resize(chromium, width, height, 2, width < 600)
            browser.prefer(chromium, scheme)
            chromium.get(url)
            seen = chromium.execute_async_script(LOOK, width)
            assert (width, scheme, seen["wrong"] + list(complaints(chromium, url))) == (width, scheme, [])
            assert seen["steps"] >= 13 and seen["pictures"] >= 30 and seen["texts"] >= 400
