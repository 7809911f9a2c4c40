"""Every example in a docstring gives what it says."""

import dataclasses
import doctest
import functools
import importlib
import importlib.util
import inspect
import pathlib
import pkgutil
import re

import dataprocessing
import pytest

MODULES = ["dataprocessing"] + [f"dataprocessing.{m.name}" for m in pkgutil.iter_modules(dataprocessing.__path__)]
CLASSES = ["Axis", "Array1D", "Array2D", "Mask1D", "Mask2D"]


def run(tests):
    """The results of all whose libraries are there."""
    results = []
    for test in tests:
        wanted = re.findall(r"\b(xarray|dask|hyperspy|matplotlib)\b", "".join(e.source for e in test.examples if "import" in e.source))
        if all(importlib.util.find_spec(name) for name in wanted):
            results.append(doctest.DocTestRunner().run(test))
    return results


@pytest.mark.parametrize("name", MODULES)
def test_examples_of_module(name):
    module = importlib.import_module(name)
    results = run(doctest.DocTestFinder().find(module, name))
    assert sum(r.failed for r in results) == 0


@pytest.mark.parametrize("name", CLASSES)
def test_examples_of_class(name):
    results = run(doctest.DocTestFinder().find(getattr(dataprocessing, name), name, globs={}))
    assert sum(r.attempted for r in results) > 0
    assert sum(r.failed for r in results) == 0


def documented():
    """All that is public and called: (name, object)."""
    for name in dataprocessing.__all__:
        found = getattr(dataprocessing, name)
        if inspect.ismodule(found):
            yield from ((f"{name}.{one}", getattr(found, one)) for one in found.__all__)
        else:
            yield name, found
    for name in [*CLASSES, "Range", "Rect", "Transform", "Subscription", "fitting.Selection", "fitting.PeakModel", "fitting.FitResult"]:
        kind = functools.reduce(getattr, name.split("."), dataprocessing)
        for one in vars(kind):
            if not one.startswith("_") and callable(getattr(kind, one)):
                yield f"{name}.{one}", getattr(kind, one)


@pytest.mark.parametrize(("name", "found"), [pytest.param(*one, id=one[0]) for one in documented()])
def test_everything_public_says_what_it_is_by_an_example(name, found):
    text = inspect.getdoc(found) or ""
    assert len(text) > 20
    if isinstance(found, type) and issubclass(found, Exception):
        return
    assert ">>>" in text and "doctest: +SKIP" not in text


# What a docstring tells besides what happens: of what shape things are, in which unit, and what is refused how.
TOLD = {
    "shapes": r"\b([Aa]n? (1D |1-D )?array|[Aa]rrays?|Array[12]D|images?|[Ss]hapes?|numbers?|ndarrays?|pairs?|spectr(a|um)|planes?|masks?|"
    r"matrix|vector|axis|axes|Axis|Ranges?|Rect|signal|DataArray|names?|answer|rectangle|dimensions?|selection)\b",
    "units": r"\b[Uu]nits?\b|radians|standard deviations|\blabels\b",
    "errors": r"\b[A-Z]\w*Error\b|\bcomes? through\b",
}

# Where there is none, and where nothing can be refused: objects that functions answer with are not among them.
NOTHING_TO_TELL = {
    "units": """
        Subscription Subscription.cancel Range.on_change Rect.on_change fitting.Selection.remove
        fitting.Selection.clear fitting.Selection.on_change fitting.PeakModel.free fitting.PeakModel.fix
        fitting.PeakModel.copy maps.Status maps.load maps.store maps.apply Mask1D.copy Mask2D.copy
        Mask1D.count Mask2D.count
    """,
    "errors": """
        Subscription Subscription.cancel Array1D.copy Array2D.copy Array1D.identical Array2D.identical Array1D.conj
        Array2D.conj Mask1D.copy Mask2D.copy Mask1D.count Mask2D.count fitting.Selection.remove fitting.Selection.clear
        fitting.PeakModel.copy fitting.FitResult.report maps.Status
    """,
    "shapes": "Subscription.cancel Range.on_change fitting.Selection.clear",
}


def is_answer(found):
    """What functions make and users read."""
    return isinstance(found, type) and (dataclasses.is_dataclass(found) or hasattr(found, "_fields"))


def prose(name, documents):
    """The text up to the example, with the texts that it sends its reader to."""
    own = documents[name].split(">>>")[0]
    sent = [one for one in re.findall(r"[Ss]ee ``([\w.]+)``|those of ``([\w.]+)``|``([\w.]+)``; see there|:func:`([\w.]+)`", own)]
    others = {other for found in sent for other in found if other and other != name}
    module = name.rpartition(".")[0]
    known = [documents[n] for o in others for n in (o, f"{module}.{o}", o.replace("dataprocessing.", "")) if n in documents]
    return " ".join([own, *(text.split(">>>")[0] for text in known)])


@pytest.mark.parametrize("what", TOLD)
def test_everything_public_tells_its_shapes_units_and_errors(what):
    documents = {name: inspect.getdoc(found) or "" for name, found in documented()}
    silent = {
        name
        for name, found in documented()
        if not (isinstance(found, type) and issubclass(found, Exception))
        and not (what == "errors" and is_answer(found))
        and not re.search(TOLD[what], prose(name, documents))
    }
    assert silent == set(NOTHING_TO_TELL[what].split())


@pytest.mark.parametrize(("page", "least"), [("docs/python.md", 10), ("docs/index.md", 5), ("README.md", 4), ("docs/streams.md", 6)])
def test_samples_of_the_guide(page, least):
    path = pathlib.Path(__file__).parents[2] / page
    blocks = re.findall(r"^```python\n(.*?)^```", path.read_text(), re.M | re.S)
    test = doctest.DocTestParser().get_doctest("\n".join(blocks), {}, page, str(path), 0)
    result = doctest.DocTestRunner().run(test)
    assert result.attempted >= least and result.failed == 0
