"""What the README and the guide say is so: samples print what the pages promise, the folders are floors, the pictures are
those that the library draws now, and the table of errors has what the sources raise."""
import filecmp
import os
import pathlib
import re
import subprocess

from samples import expected

SOURCE = pathlib.Path(__file__).resolve().parents[2]
LIBRARY = SOURCE / "dataprocessing"
FILES = {path: path.read_text() for path in sorted(LIBRARY.rglob("*")) if path.suffix in (".h", ".cpp", ".inc")}


def test_samples(monkeypatch):
    monkeypatch.chdir(SOURCE)
    printed = subprocess.run([os.environ["SAMPLES"]], stdout=subprocess.PIPE, check=True, text=True).stdout
    assert printed.splitlines() == expected(os.environ["PAGES"].split()).splitlines()


def test_floors():
    """A source includes files of its own folder and of those that stand above it in CONTRIBUTING.md, ground first."""
    table = re.findall(r"^\| `(\w+)/` \|", (SOURCE / "CONTRIBUTING.md").read_text(), re.M)
    floors = {folder: floor for floor, folder in enumerate(table)}
    assert set(floors) == {path.name for path in LIBRARY.iterdir() if path.is_dir()}
    arrows = [(path.relative_to(LIBRARY), folder) for path, text in FILES.items()
              for folder in re.findall(r'"dataprocessing/(\w+)/', text)]
    assert len(arrows) > 500
    # dataprocessing.h itself is the roof.
    assert [(path, folder) for path, folder in arrows if floors[folder] > floors.get(path.parts[0], len(floors))] == []


def test_versions():
    """One version, wherever it is told."""
    version = re.search(r"^project\(DataProcessing VERSION (\S+)", (SOURCE / "CMakeLists.txt").read_text(), re.M)[1]
    told = {"pyproject.toml": r'^version = "(.*)"$', "python/dataprocessing/__init__.py": r'^__version__ = "(.*)"$'}
    for path, pattern in told.items():
        assert re.findall(pattern, (SOURCE / path).read_text(), re.M) == [version], path
    major, minor, _ = version.split(".")
    soname = f"{major}.{minor}" if major == "0" else major
    assert re.findall(r"libDataProcessing\.so\.([\d.]*\d)", (SOURCE / "README.md").read_text()) == [soname]


def test_bounds():
    """Each figure of the table of bounds is read by a test."""
    table = (SOURCE / "docs/numerics.md").read_text().split("\n## Bounds\n")[1].split("\n\n")[1]
    rows = re.findall(r"^\| (.*?) \| [\d.]+ .*epsilon", table, re.M)
    assert len(rows) > 15
    read = {row for path in (SOURCE / "tests").rglob("*_test.cpp")
            for row in re.findall(r'statedBound\("(.*?)"\)', path.read_text())}
    assert [row for row in rows if not any(row.startswith(beginning) for beginning in read)] == []


def test_pictures(tmp_path):
    subprocess.run([os.environ["PICTURES"], tmp_path], check=True)
    kept = SOURCE / "docs/pictures"
    names = sorted(path.name for path in kept.iterdir())
    assert sorted(path.name for path in tmp_path.iterdir()) == names
    stale = filecmp.cmpfiles(kept, tmp_path, names, shallow=False)[1:]
    assert stale == ([], []), f"{os.environ['PICTURES']} {kept} draws them again"


# ---- docs/errors.md ----------------------------------------------------------------------------------------------------

KINDS = {"program": "expt_cProgramException", "user": "expt_cUserException", "index": "arr_cIndexException",
         "size": "arr_cSizeException", "fit": "gsft_cFitException", "recipes": "rcps_cRecipesException"}
ROWS = [tuple(cell.strip() for cell in line.strip("|").split("|"))
        for line in (SOURCE / "docs/errors.md").read_text().splitlines() if line.startswith("|") and line.count("|") == 6]
ROWS = [row for row in ROWS if row[0] in KINDS]
# Pieces of a text that stand on two lines are one literal; what the compiler tells is raised by nobody.
SOURCES = [re.sub(r'"\s*\n\s*"', "", re.sub(r"//[^\n]*|static_assert\([^;]*;", "", text)) for text in FILES.values()]
TEXTS = {text for source in SOURCES for text in re.findall(r'"([^"\n]*)"', source)}


def pieces(text):
    """What stands between the numbers of a text."""
    return [piece.strip() for piece in re.split(r"-?\d+(?:\.\d+)?", text) if len(piece.strip()) > 1]


def test_errors_of_the_page_are_raised():
    """Each row has its class, unit and line in one source at least, and its text is made of literals."""
    for kind, unit, line, text, _ in ROWS:
        assert [source for source in SOURCES
                if f'"{unit}"' in source and KINDS[kind] in source and re.search(rf"\b{line}\b", source)], (kind, unit, line)
        for piece in pieces(text):
            assert any(piece in literal for literal in TEXTS), (unit, line, piece)


def test_errors_raised_are_on_the_page():
    """So are each unit and line that stand together, each line and text, and each sentence."""
    raised = {pair for source in SOURCES for pair in re.findall(r'Exception\(\s*"(\w+)", (\d+)\b', source)}
    assert len(raised) > 50 and raised - {row[1:3] for row in ROWS} == set()
    texts = {(line, text) for source in SOURCES for line, text in re.findall(r'\b(\d+),\s*"([A-Z][^"]*)"', source)}
    texts |= {(r"\d+", text) for text in TEXTS if re.match(r"[A-Z][a-z]+ .*[.]$", text)}
    assert len(texts) > 100
    for line, text in texts:
        assert any(re.fullmatch(line, row[2]) and all(piece in row[3] for piece in pieces(text)) for row in ROWS), (line, text)
