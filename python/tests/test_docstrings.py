"""Every example in a docstring gives what it says."""

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


@pytest.mark.parametrize(("page", "least"), [("docs/python.md", 10), ("docs/index.md", 5), ("README.md", 4)])
def test_samples_of_the_guide(page, least):
    path = pathlib.Path(__file__).parents[2] / page
    blocks = re.findall(r"^```python\n(.*?)^```", path.read_text(), re.M | re.S)
    test = doctest.DocTestParser().get_doctest("\n".join(blocks), {}, page, str(path), 0)
    result = doctest.DocTestRunner().run(test)
    assert result.attempted >= least and result.failed == 0
