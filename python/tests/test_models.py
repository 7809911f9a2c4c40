"""Models of peaks that live on: what is said again replaces what was said."""

import copy
import pickle

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import _core, _peak_model, fitting

AXIS = dp.Axis(6.0, 0.01, unit="keV")


def model():
    made = fitting.PeakModel()
    alpha = made.peak("gaussian", 6.38, 700, 0.05, name="Ka")
    beta = made.peak("gaussian", 6.6, 90, 0.05, name="Kb")
    background = made.polynomial([10, 0], reference=6.4)
    return made, alpha, beta, background


def of(made):
    kinds = [(kind.varies, kind.ref) for kind in made._core.kinds()]
    return made.names, made.starts, made.peak_names, kinds, made.eval([6.3, 6.4]).tobytes()


COUNTS = dp.Array1D(np.round(model()[0].eval(AXIS.positions(80))), AXIS)


def seen(fit):
    return [(p.value, p.stderr, p.vary, p.ref) for p in fit.params.values()]


def same(made):
    """The models that come of it by pickling and by copying, which are what it is and fit as it does."""
    others = [pickle.loads(pickle.dumps(made)), made.copy(), copy.copy(made), copy.deepcopy(made)]
    for other in others:
        assert of(other) == of(made)
        assert seen(fitting.peaks(COUNTS, other)) == seen(fitting.peaks(COUNTS, made))
    return others


def test_a_model_does_not_keep_what_was_said_before():
    made, alpha, beta, background = model()

    def say(value):
        made.start(alpha.height, value)
        made.fix(beta.width, background[1])
        made.free(beta.width)
        made.bound(beta.position, 6.5, value)
        made.tie(beta.width, alpha.width, factor=value / 700)

    say(700.0)
    once = pickle.dumps(made)
    for value in np.linspace(600, 700, 500).tolist():
        say(value)
    assert pickle.dumps(made) == once and len(once) < 1000
    assert len(made._calls) == 3 + 4  # parts, a start and three kinds
    assert fitting.peaks(COUNTS, made).params[beta.width].ref == alpha.width
    same(made)


def test_the_last_word_holds():
    made, alpha, beta, background = model()
    made.fix(beta.position)
    made.tie(beta.width, alpha.width)
    made.bound(beta.width, 0.01, 0.2)
    made.free(beta.position)
    made.start(beta.height, 1.0)
    made.start(beta.height, 80.0)
    other = same(made)[0]
    fit = fitting.peaks(COUNTS, other)
    assert other.starts[beta.height] == 80.0 and fit.params[beta.width].ref is None and fit.params[beta.position].vary
    other.start(beta.height, 5.0)
    other.peak("voigt", 7.0, 1, 0.1, 0.1)
    assert made.starts[beta.height] == 80.0 and made.peak_names == ["Ka", "Kb"]


@pytest.mark.parametrize("when", ["before", "behind"])
def test_widths_follow_their_law_in_copies(when):
    made, alpha, beta, background = model()
    if when == "before":  # these give way to the law
        made.fix(alpha.width)
        made.tie(beta.width, alpha.width)
        made.tie(beta.height, alpha.width)
        made.free(beta.height)
    width, slope = made.width_law(0.05, 0.001, 6.4)
    late = made.peak("lorentzian", 6.7, 5, 0.05)
    made.fix(late.width, slope, beta.height)
    made.tie(beta.height, late.height)
    made.start(alpha.width, -1.0)  # no peak could be added so
    for other in same(made):
        with pytest.raises(dp.ProgramError, match="law"):
            other.fix(alpha.width)


def test_a_copy_keeps_its_curves():
    made, *_ = model()
    made.curve(dp.Array1D(np.full(80, 20.0), AXIS))
    for other in same(made):
        assert fitting.peaks(COUNTS, other).eval().identical(fitting.peaks(COUNTS, made).eval())


def test_copies_that_grow_leave_their_model_alone():
    made, alpha, *_ = model()
    before, fitted = pickle.dumps(made), seen(fitting.peaks(COUNTS, made))
    other = made.copy()
    other.peak("voigt", 6.5, 1, 0.1, 0.1, name="new")
    other.start(alpha.height, 5.0)
    other.curve(dp.Array1D(np.ones(70), AXIS))  # not as long as the spectrum
    assert pickle.dumps(made) == before and made.peak_names == ["Ka", "Kb"] and made._shapes == ["gaussian"] * 2
    assert seen(fitting.peaks(COUNTS, made)) == fitted


def test_pickles_of_every_call_are_read():
    calls = [("add_peak", (_core.Shape.GAUSSIAN, 6.4, 700.0, 0.05, 0.0)), ("fix", (2,)), ("set_start", (1, 5.0)),
             ("free", (2,)), ("set_start", (1, 600.0)), ("add_polynomial", ([5.0], 0.0, 1.0))]  # fmt: skip
    made = _peak_model._replayed(calls, ["Fe"], ["gaussian"])
    assert made.starts == {"position of Fe": 6.4, "height of Fe": 600.0, "width of Fe": 0.05, "coefficient 0": 5.0}
    assert made._core.kinds()[2].varies
    same(made)
