"""Every example in a docstring gives what it says."""

import doctest
import importlib
import pathlib
import pkgutil
import re

import dataprocessing
import pytest

MODULES = ["dataprocessing"] + [f"dataprocessing.{m.name}" for m in pkgutil.iter_modules(dataprocessing.__path__)]


@pytest.mark.parametrize("name", MODULES)
def test_examples_of_module(name):
    result = doctest.testmod(importlib.import_module(name))
    assert result.failed == 0


@pytest.mark.parametrize("name", ["Axis", "Array1D", "Array2D", "Mask1D", "Mask2D"])
def test_examples_of_class(name):
    cls = getattr(dataprocessing, name)
    tests = doctest.DocTestFinder().find(cls, name, globs={})
    results = [doctest.DocTestRunner().run(test) for test in tests]
    assert sum(r.attempted for r in results) > 0
    assert sum(r.failed for r in results) == 0


@pytest.mark.parametrize(("page", "least"), [("docs/python.md", 10), ("docs/index.md", 5), ("README.md", 4)])
def test_samples_of_the_guide(page, least):
    path = pathlib.Path(__file__).parents[2] / page
    blocks = re.findall(r"^```python\n(.*?)^```", path.read_text(), re.M | re.S)
    test = doctest.DocTestParser().get_doctest("\n".join(blocks), {}, page, str(path), 0)
    result = doctest.DocTestRunner().run(test)
    assert result.attempted >= least and result.failed == 0
