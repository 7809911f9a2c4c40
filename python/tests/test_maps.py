"""Whole maps beside the fits of single spectra, and the same bits however they are cut."""

import os
import pickle
import threading

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import maps
from dataprocessing.maps import Status

CHANNELS = 96
AXIS = dp.Axis(6.0, 0.01, name="energy", unit="keV")
X = AXIS.positions(CHANNELS)


def made(shape=(4, 5), dtype="u2", seed=1):
    """A map of a peak whose height changes, on a falling background."""
    random = np.random.default_rng(seed)
    height = np.linspace(100, 900, int(np.prod(shape))).reshape(shape)
    curve = 40 + 20 * (6.5 - X) + height[..., None] * np.exp(-(((X - 6.4) / 0.06) ** 2) / 2)
    return random.poisson(curve).astype(dtype)


def model():
    peaks = dp.fitting.PeakModel()
    peaks.peak("gaussian", 6.4, 400, 0.06, name="Fe")
    peaks.polynomial([40, -20], 6.5)
    return peaks


def shapes():
    return {"line": np.exp(-(((X - 6.4) / 0.06) ** 2) / 2), "constant": np.ones(CHANNELS), "slope": X - 6.5}


FITS = {
    "peaks": lambda data, **more: maps.peaks(data, model(), **more),
    "peaks of another shape": lambda data, **more: maps.peaks(data, other_model(), **more),
    "polynomial": lambda data, **more: maps.polynomial(data, order=2, **more),
    "power law": lambda data, **more: maps.power_law(data, [(6.0, 6.2), (6.7, 6.9)], **more),
    "windows": lambda data, **more: maps.integrate(data, {"Fe": (6.2, 6.6)}, **more),
    "windows over a line": lambda data, **more: maps.integrate(
        data, [(6.2, 6.6), (6.3, 6.4)], background="polynomial", ranges=[(6.0, 6.1), (6.7, 6.9)], **more
    ),
    "windows over a law": lambda data, **more: maps.integrate(
        data, [(6.2, 6.6)], background="power law", ranges=[(6.0, 6.1), (6.7, 6.9)], **more
    ),
    "linear": lambda data, axis=None, **more: maps.linear(data, shapes(), **more),
    "linear, not negative": lambda data, axis=None, **more: maps.linear(
        data, shapes(), weights="counts", nonnegative=["line"], **more
    ),
    "shifts": lambda data, **more: maps.align(data, 40 + 400 * shapes()["line"], 0.2, **more),
}  # fmt: skip


def other_model():
    peaks = dp.fitting.PeakModel()
    peaks.peak("lorentzian", 6.4, 400, 0.06)
    peaks.polynomial([40])
    return peaks


@pytest.fixture(params=FITS)
def fit(request):
    return FITS[request.param]


def arrays(planes):
    """All planes by name."""
    found = {"iterations": planes.iterations, "status": planes.status, "chi_square": planes.chi_square}
    for group in ("values", "errors", "areas", "area_errors"):
        found.update({f"{group} {name}": plane for name, plane in getattr(planes, group).items()})
    return {name: np.asarray(plane) for name, plane in found.items() if plane is not None}


def assert_same_bits(a, b):
    a, b = arrays(a), arrays(b)
    assert list(a) == list(b)
    for name in a:
        assert a[name].shape == b[name].shape and a[name].dtype == b[name].dtype, name
        assert a[name].tobytes() == b[name].tobytes(), name


# ---- Values -------------------------------------------------------------------------------------


def test_peaks_are_those_of_single_fits():
    data = made()
    planes = maps.peaks(data, model(), AXIS, windows=9)
    for at in np.ndindex(data.shape[:-1]):
        one = dp.fitting.peaks(dp.Array1D(data[at], AXIS), model(), windows=9, step_tolerance=1e-9)
        for name, parameter in one.params.items():
            assert abs(planes[name][at] - parameter.value) < 1e-3 * parameter.stderr
            assert planes.errors[name][at] == pytest.approx(parameter.stderr, rel=1e-3)
        assert planes.areas["Fe"][at] == pytest.approx(one.peaks[0].area, rel=1e-4)
        assert planes.area_errors["Fe"][at] == pytest.approx(one.peaks[0].area_error, rel=1e-3)
        assert planes.chi_square[at] == pytest.approx(one.chi_square, rel=1e-6)
    assert not planes.status.any() and planes.iterations.min() > 0
    assert list(planes.values) == model().names and planes.iterations.dtype == "i4" and planes.status.dtype == "u1"


def test_polynomial_is_that_of_numpy():
    data = made(dtype="f8")
    planes = maps.polynomial(data, AXIS, order=3, weights="equal")
    offset = planes.fixed["offset"]
    assert offset == pytest.approx(X.mean())
    for at in np.ndindex(data.shape[:-1]):
        design = np.vander(X - offset, 4, increasing=True)
        expected = np.linalg.lstsq(design, data[at], rcond=None)[0]
        np.testing.assert_allclose([planes[f"c{j}"][at] for j in range(4)], expected, rtol=1e-8)
        inverse = np.linalg.pinv(design)
        np.testing.assert_allclose(
            [planes.errors[f"c{j}"][at] for j in range(4)], np.sqrt(inverse**2 @ data[at]), rtol=1e-8
        )


def test_linear_is_that_of_numpy_with_the_weights_of_counts():
    data = made()
    planes = maps.linear(data, shapes(), weights="counts")
    design = np.array(list(shapes().values())).T
    for at in np.ndindex(data.shape[:-1]):
        weights = 1 / np.maximum(data[at], 1.0)
        normal = design.T @ (weights[:, None] * design)
        expected = np.linalg.solve(normal, design.T @ (weights * data[at]))
        np.testing.assert_allclose([planes[name][at] for name in shapes()], expected, rtol=1e-8)
        np.testing.assert_allclose(
            [planes.errors[name][at] for name in shapes()], np.sqrt(np.diag(np.linalg.inv(normal))), rtol=1e-8
        )


def test_what_is_not_negative_stays_at_zero():
    hollow = 100 - 30 * shapes()["line"]
    assert maps.linear([hollow], shapes())["line"] == pytest.approx([-30])
    for nonnegative in (True, ["line"]):
        planes = maps.linear([hollow], {**shapes(), "slope": 7 - X}, nonnegative=nonnegative)
        assert planes["line"] == [0] and planes.errors["line"] == [0]
    with pytest.raises(ValueError, match="nonnegative names"):
        maps.linear([hollow], shapes(), nonnegative=["lines"])


def test_power_law_meets_the_conditions_of_the_likelihood():
    data = made()
    planes = maps.power_law(data, [(6.0, 6.2), (6.7, 6.9)], AXIS)
    inside = ((X > 5.995) & (X < 6.205)) | ((X > 6.695) & (X < 6.905))
    assert planes.fixed == {"reference": pytest.approx(6.45)}
    law = planes["amplitude"][..., None] * (X[inside] / planes.fixed["reference"]) ** planes["exponent"][..., None]
    rest = data[..., inside] - law
    np.testing.assert_allclose(rest.sum(-1), 0, atol=1e-6)
    np.testing.assert_allclose((rest * np.log(X[inside])).sum(-1), 0, atol=1e-6)
    np.testing.assert_allclose(planes.chi_square, (rest**2 / law).sum(-1), rtol=1e-9)


def test_windows_are_sums():
    data = made()
    planes = maps.integrate(data, {"a": (6.2, 6.6), "b": dp.Range(6.05, 6.09)}, AXIS)
    np.testing.assert_array_equal(planes["a"], data[..., 20:61].sum(-1))
    np.testing.assert_array_equal(planes["b"], data[..., 5:10].sum(-1))
    np.testing.assert_allclose(planes.errors["a"], np.sqrt(planes["a"]), rtol=1e-15)
    assert planes.chi_square is None
    assert list(maps.integrate(data, (6.2, 6.6), AXIS).values) == ["window 1"]
    line = maps.integrate(data, [(6.2, 6.6)], AXIS, background="polynomial", ranges=[(6.0, 6.1), (6.7, 6.9)])
    taken = np.r_[0:11, 70:91]
    for at in np.ndindex(data.shape[:-1]):
        below = np.polyval(np.polyfit(X[taken] - 6.5, data[at][taken], 1), X[20:61] - 6.5).sum()
        assert line["window 1"][at] == pytest.approx(data[at][20:61].sum() - below, abs=1e-6)


@pytest.mark.parametrize("dtype", ["u1", "u2", "u4", "i1", "i2", "i4", "i8", "u8", "f2", "f4", "f8", "?"])
def test_sums_of_all_types(dtype):
    data = np.random.default_rng(2).integers(0, 2 if dtype == "?" else 9, (3, 4, 50)).astype(dtype)
    spectrum, image = maps.sum(data)
    np.testing.assert_array_equal(spectrum, data.astype("f8").sum((0, 1)))
    np.testing.assert_array_equal(image, data.astype("f8").sum(-1))
    spectrum, image = maps.sum(data[1, 1])
    np.testing.assert_array_equal(spectrum, data[1, 1])
    assert image.shape == ()


def test_starts_by_planes():
    data = made()
    data[...] = np.roll(data, 12, axis=-1)  # the model starts two widths away
    near = maps.peaks(data, model(), AXIS, starts={"position of Fe": np.full(data.shape[:-1], 6.52), "height of Fe": 300})
    moved = model()
    moved.start("position of Fe", 6.52)
    there = maps.peaks(data, moved, AXIS)
    np.testing.assert_allclose(near["position of Fe"], there["position of Fe"], atol=1e-5)
    with pytest.raises(ValueError, match="no parameter is called"):
        maps.peaks(data, model(), AXIS, starts={"position": 1})


# ---- Bits ---------------------------------------------------------------------------------------


def test_same_bits_however_it_lies_in_memory(fit):
    data = made()
    expected = fit(data, axis=AXIS)
    room = np.zeros((9, 12, 2 * CHANNELS), "u2")
    for view in (room[::2, 1:11:2, ::2][:4], room[7::-2, 10::-2, -1::-2], np.zeros((CHANNELS, 5, 4), "u2").T.swapaxes(0, 0)):
        view = view[:4, :5]
        view[...] = data
        assert not view.flags.c_contiguous
        before = room.copy()
        assert_same_bits(fit(view, axis=AXIS), expected)
        np.testing.assert_array_equal(room, before)
    for dtype in ("i4", "f4", "f8", "i8", ">u2", ">f8"):
        assert_same_bits(fit(data.astype(dtype), axis=AXIS), expected)
    shifted = np.frombuffer(b"x" + data.astype("f8").tobytes(), "u1")[1:].view("f8").reshape(data.shape)
    assert not shifted.flags.aligned
    assert_same_bits(fit(shifted, axis=AXIS), expected)


def test_same_bits_however_it_is_cut(fit):
    data = made()
    whole = arrays(fit(data, axis=AXIS))
    for at in np.ndindex(data.shape[:-1]):
        for name, one in arrays(fit(data[at], axis=AXIS)).items():
            assert one.shape == () and one.tobytes() == whole[name][at].tobytes()
    folded = arrays(fit(data.reshape(2, 2, 1, 5, CHANNELS)[:, ::-1], axis=AXIS))
    for name, one in folded.items():
        assert one.tobytes() == whole[name].reshape(2, 2, 1, 5)[:, ::-1].tobytes()


def test_threads_have_the_same_bits(fit):
    data = made((20, 20))
    expected = fit(data, axis=AXIS)
    found = [None] * 4

    def work(i):
        found[i] = fit(data, axis=AXIS)

    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    for one in found:
        assert_same_bits(one, expected)


# ---- What cannot be had -------------------------------------------------------------------------


def test_bad_spectra_say_why(fit):
    data = made(dtype="f8")
    good = arrays(fit(data, axis=AXIS))
    data[1, 2, :] = np.nan
    planes = fit(data, axis=AXIS)
    assert planes.status[1, 2] == Status.NOT_FINITE and np.count_nonzero(planes.status) == 1
    others = np.ones(data.shape[:-1], bool)
    others[1, 2] = False
    for name, plane in arrays(planes).items():
        assert plane[others].tobytes() == good[name][others].tobytes()
        if plane.dtype == "f8":
            assert np.isnan(plane[1, 2])
    with pytest.raises(dp.FitError, match=r"1 of 20 spectra have no result; the first, \(1, 2\), is not finite\."):
        fit(data, axis=AXIS, errors="raise")
    with pytest.raises(ValueError, match="errors is 'raise' or 'nan'"):
        fit(data, axis=AXIS, errors="ignore")


def test_every_status():
    data = made((5,), "f8")
    data[1] = np.inf
    data[2] = 0
    data[3, 4] = -1
    planes = maps.peaks(data, model(), AXIS)
    assert list(planes.status) == [Status.GOOD, Status.NOT_FINITE, Status.EMPTY, Status.NEGATIVE, Status.GOOD]
    twice = model()
    twice.polynomial([1])
    assert set(maps.peaks(made(), twice, AXIS).status.ravel()) == {Status.UNDETERMINED}
    few = maps.peaks(made(), other_model(), AXIS, tolerance=1e-12, most_evaluations=1)
    assert set(few.status.ravel()) == {Status.NOT_CONVERGED}


def test_planted_spectra_are_found_and_no_others():
    rng = np.random.default_rng(7)
    data = made((40, 50), "f8")
    planted = rng.choice([0] * 6 + [Status.NOT_FINITE, Status.EMPTY, Status.NEGATIVE], data.shape[:-1])
    channel = rng.integers(0, CHANNELS, data.shape[:-1])
    for at in np.argwhere(planted == Status.NOT_FINITE):
        data[(*at, channel[tuple(at)])] = rng.choice([np.nan, np.inf, -np.inf])
    for at in np.argwhere(planted == Status.NEGATIVE):
        data[(*at, channel[tuple(at)])] = -rng.integers(1, 5)
    data[planted == Status.EMPTY] = 0
    for chosen in (model(), other_model()):
        planes = maps.peaks(data, chosen, AXIS)
        assert np.array_equal(planes.status, planted)
        for name, plane in arrays(planes).items():
            if plane.dtype == "f8":
                assert np.array_equal(np.isnan(plane), planted != 0), name


def test_empty_maps(fit):
    planes = fit(np.zeros((3, 0, CHANNELS), "u2"), axis=AXIS)
    assert all(plane.shape == (3, 0) for plane in arrays(planes).values())
    planes = fit(np.zeros((0, 2, 3, CHANNELS), "u2"), axis=AXIS)
    assert all(plane.shape == (0, 2, 3) for plane in arrays(planes).values())
    spectrum, image = maps.sum(np.zeros((0, 4)))
    assert image.shape == (0,) and list(spectrum) == [0, 0, 0, 0]


def test_what_lies_elsewhere_is_refused():
    there, spectra = dp.Array1D(np.ones(CHANNELS), dp.Axis(100.0)), np.full((2, CHANNELS), 20.0)
    model = dp.fitting.PeakModel()
    model.peak("gaussian", 6.4, 10.0, 0.05)
    for call in (
        lambda: maps.peaks(spectra, model, AXIS, objective="least-squares", weights=there),
        lambda: maps.linear(dp.Array2D(spectra, (dp.Axis(), AXIS)), {"a": there}),
    ):
        with pytest.raises(ValueError, match="on Axis"):
            call()
    assert maps.linear(spectra, {"a": there})["a"].tolist() == pytest.approx([20.0, 20.0])
    placed = dp.Array2D(spectra, (dp.Axis(), AXIS))
    assert maps.linear(placed, {"a": dp.Array1D(np.ones(CHANNELS))})["a"].tolist() == pytest.approx([20.0, 20.0])
    with pytest.raises(ValueError, match="shapes have 5 channels"):
        maps.linear(placed, {"a": dp.Array1D(np.ones(5), dp.Axis(100.0))})
    xarray = pytest.importorskip("xarray")
    labelled = xarray.DataArray(spectra, dims=("row", "energy"), coords={"energy": AXIS.positions(CHANNELS)})
    shape = xarray.DataArray(np.linspace(1, 2, CHANNELS), dims="energy", coords={"energy": AXIS.positions(CHANNELS)})
    assert maps.linear(labelled, {"a": shape})["a"].shape == (2,)
    for elsewhere in (shape.assign_coords(energy=shape.energy + 1), shape[::-1]):
        with pytest.raises(ValueError, match="on Axis"):
            maps.linear(labelled, {"a": elsewhere})
        with pytest.raises(ValueError, match="on Axis"):
            maps.peaks(labelled, model, objective="least-squares", weights=elsewhere)
    assert maps.linear(labelled, {"a": shape.drop_vars("energy")})["a"].shape == (2,)
    masked = np.ma.array([10.0, 20.0], mask=[True, False])
    for starts in (masked, masked[0:1]):
        with pytest.raises(TypeError, match="masked"):
            maps.peaks(spectra, model, AXIS, starts={model.names[1]: starts})
    model.curve(there)
    with pytest.raises(ValueError, match="where the spectrum does"):
        maps.peaks(spectra, model, AXIS)
    with pytest.raises(dp.ProgramError, match="least-squares"):
        maps.peaks(spectra, model, AXIS, weights=np.ones(CHANNELS))


def test_arrays_bring_their_axis():
    image = dp.Array2D(np.ones((2, 6)), axes=(dp.Axis(), dp.Axis(0, 0.5)))
    assert dp.maps.smooth(image, 3, 1).axis == dp.Axis(0, 0.5)
    assert dp.maps.smooth(image, 3, 1, axis=dp.Axis(7)).axis == dp.Axis(7)
    assert dp.maps.integrate(image[0], (0.9, 1.6))["window 1"] == 2
    bound = dp.maps.polynomial(dp.Array2D(np.outer([1.0, 2.0], image.axes[1].positions(6)), image.axes))
    assert bound["c1"] == pytest.approx([1.0, 2.0]) and bound.fixed["offset"] == 1.25


def test_refusals():
    data = made()
    with pytest.raises(TypeError, match="real numbers"):
        maps.sum(data.astype("c16"))
    with pytest.raises(TypeError, match="real numbers"):
        maps.sum(np.array([["a"]]))
    with pytest.raises(OverflowError):
        maps.sum(np.array([[2**53 + 1]]))
    with pytest.raises(OverflowError):
        maps.sum(np.array([[2**64 - 1]], "u8"))
    with pytest.raises(ValueError, match="not one number"):
        maps.sum(3)
    with pytest.raises(TypeError, match="only a DataArray"):
        maps.sum(data, dim="energy")
    with pytest.raises(ValueError, match="weights is one of"):
        maps.linear(data, shapes(), weights="likelihood")
    with pytest.raises(ValueError, match="channels"):
        maps.linear(data, {"a": [1, 2]})
    with pytest.raises(dp.ProgramError):
        maps.linear(data, {})
    with pytest.raises(ValueError, match="background is one of"):
        maps.integrate(data, (6.2, 6.6), AXIS, background="line")
    with pytest.raises(dp.ProgramError):
        maps.integrate(data, (1, 2), AXIS)
    with pytest.raises(dp.ProgramError):
        maps.power_law(data, (6, 6.001), AXIS)
    with pytest.raises(dp.ProgramError):
        maps.polynomial(data, AXIS, order=-1)
    with pytest.raises(dp.ProgramError):
        maps.peaks(data, model(), AXIS, tolerance=0)
    with pytest.raises(dp.ProgramError):
        maps.peaks(data, model(), AXIS, weights=[1, 2])


def test_blocks_of_the_core():
    core = dp._core.maps_cLinear(np.ones((1, 4)))
    assert core.parameter_count() == 1
    values, errors, chi, iterations, status = core.run(np.full((2, 3, 4), 7, "i4"))
    assert values.shape == errors.shape == (1, 2, 3) and status.shape == iterations.shape == chi.shape == (1, 2, 3)
    np.testing.assert_allclose(values, 7)
    for bad, kind in (
        (np.zeros((1, 1, 1, 4)), ValueError), (np.zeros(()), ValueError), (np.zeros(4, ">f8"), TypeError),
        (np.zeros(4, "c8"), TypeError), (np.zeros(4, "i8"), TypeError), (np.zeros(4, "V0"), TypeError),
        (np.zeros(3), dp.ProgramError), (np.zeros(4, "u1,f4")["f1"], ValueError),
    ):  # fmt: skip
        with pytest.raises(kind):
            core.run(bad)
    with pytest.raises(dp.ProgramError):
        core.run(np.frombuffer(bytearray(33), "u1")[1:].view("f8"))
    again, _ = dp._core.maps_sum(np.ones((3, 4)), [1, 2, 3, 4])
    assert list(again) == [4, 5, 6, 7]
    with pytest.raises(ValueError, match="other channels"):
        dp._core.maps_sum(np.ones((3, 4)), [1, 2])


def test_planes_say_what_they_are():
    planes = maps.peaks(made(), model(), AXIS)
    assert repr(planes).startswith("<Planes of 4x5 spectra: position of Fe, height of Fe")
    assert_same_bits(pickle.loads(pickle.dumps(planes)), planes)
