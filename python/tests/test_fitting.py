"""Fits: what comes out, what is refused, what never changes."""

import copy
import gc
import math
import pickle
import re
import weakref

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import _core, fitting
from dataprocessing.fitting import Gaussian, PeakModel, Selection, Window
from hypothesis import given
from hypothesis import strategies as st

AXIS = dp.Axis(5.0, 0.01, name="energy", unit="keV")


def gaussian(x, height, position, width):
    return height * np.exp(-((x - position) ** 2) / (2 * width**2))


def spectrum(seed=1, n=400):
    x = AXIS.positions(n)
    rng = np.random.default_rng(seed)
    return dp.Array1D(rng.poisson(gaussian(x, 900, 6.4, 0.06) + gaussian(x, 150, 7.06, 0.06) + 20), AXIS, unit="counts")


class TestPolynomial:
    @pytest.mark.parametrize("order", [0, 1, 2, 3])
    @pytest.mark.parametrize("about", ["middle", "zero"])
    def test_against_numpy(self, order, about):
        rng = np.random.default_rng(order)
        x = np.linspace(1.0, 2.0, 50, endpoint=False)
        y = rng.normal(size=50)
        fit = dp.fitting.polynomial(dp.Array1D(y, dp.Axis(1.0, 0.02)), order=order, about=about)
        expected = np.polynomial.Polynomial.fit(x, y, order)
        assert fit.eval(x) == pytest.approx(expected(x), abs=1e-12)
        assert fit.chi_square == pytest.approx(((expected(x) - y) ** 2).sum(), rel=1e-12)
        assert fit.n_points == 50 and fit.n_free == order + 1
        assert fit.reduced == pytest.approx(fit.chi_square / (49 - order), rel=1e-12)
        matrix = np.vander(x - fit.values.get("offset", 0.0), order + 1, increasing=True)
        covariance = np.linalg.inv(matrix.T @ matrix) * fit.reduced
        size = order + 1
        assert fit.covariance[:size, :size] == pytest.approx(covariance, rel=1e-6)
        errors = [fit.params[f"c{j}"].stderr for j in range(size)]
        assert errors == pytest.approx(np.sqrt(np.diag(covariance)), rel=1e-6)

    def test_takes_the_ranges_alone(self):
        y = np.arange(100.0)
        y[30:60] = 1e6
        fit = dp.fitting.polynomial(dp.Array1D(y, dp.Axis(0, 0.1)), Selection([(0.0, 3.0), dp.Range(6.0, 10.0)]))
        assert fit.params["c1"].value == pytest.approx(10) and fit.n_points == 70
        assert fit.residual.values[:30] == pytest.approx(np.zeros(30), abs=1e-9)
        one = dp.fitting.polynomial(dp.Array1D(y, dp.Axis(0, 0.1)), (0.0, 3.0))
        assert one.n_points == 30

    def test_deviations_weigh(self):
        y = np.array([1.0, 2.0, 3.0, 99.0])
        fit = dp.fitting.polynomial(dp.Array1D(y), deviations=[1, 1, 1, 1e9])
        assert fit.eval(2.0) == pytest.approx(3.0) and fit.weights == "1 / deviation^2"
        counts = dp.fitting.polynomial(dp.Array1D([4, 9, 16]), order=0, deviations="counts")
        weights = 1 / np.array([4, 9, 16])
        assert counts.values["c0"] == pytest.approx(3 / weights.sum())
        assert counts.params["c0"].stderr == pytest.approx(weights.sum() ** -0.5)

    def test_refusals(self):
        a = dp.Array1D([1.0, 2.0, 3.0])
        with pytest.raises(dp.FitError):
            dp.fitting.polynomial(a, order=3)
        with pytest.raises(dp.SingularFitError):
            dp.fitting.polynomial(dp.Array1D(np.arange(20.0), dp.Axis(1e6, 1e-3)), order=2, about="zero")
        with pytest.raises(dp.FitError) as caught:
            dp.fitting.polynomial(a, deviations=[1, 1, -1])
        assert (caught.value.unit, caught.value.line) == ("poly_fit", 2)
        with pytest.raises(dp.ProgramError):
            dp.fitting.polynomial(a, order=-1)
        with pytest.raises(TypeError, match="Array1D"):
            dp.fitting.polynomial([1, 2, 3])
        with pytest.raises(TypeError, match="real"):
            dp.fitting.polynomial(dp.Array1D([1j, 2, 3]))
        with pytest.raises(ValueError, match="about"):
            dp.fitting.polynomial(a, about="end")

    @pytest.mark.parametrize("bad", [math.nan, math.inf])
    def test_elements_that_are_not_finite_are_a_failure(self, bad):
        a = dp.Array1D([1.0, bad, 3.0, 4.0], dp.Axis(1.0))
        with pytest.raises(dp.FitError) as caught:
            dp.fitting.polynomial(a)
        assert "finite" in caught.value.message and caught.value.unit == "fitting"
        assert dp.fitting.polynomial(a, (3.0, 5.0)).success

    def test_errors_without_freedom_are_missing_with_a_reason(self):
        fit = dp.fitting.polynomial(dp.Array1D([1.0, 2.0]))
        assert math.isnan(fit.params["c1"].stderr) and math.isnan(fit.reduced)
        assert "scatter" in fit.report() and "scatter" in fit._repr_html_()


class TestPowerLaw:
    def test_finds_exponent_and_factor(self):
        axis = dp.Axis(1.0, 0.1)
        fit = dp.fitting.power_law(dp.Array1D(5 * axis.positions(50) ** -2.5, axis))
        assert fit.values == {"c0": pytest.approx(math.log(5)), "c1": pytest.approx(-2.5)}
        assert fit.eval([1.0, 4.0]) == pytest.approx([5, 5 / 32]) and fit.eval(-1.0) == 0

    def test_without_positive_points_is_singular(self):
        with pytest.raises(dp.SingularFitError):
            dp.fitting.power_law(dp.Array1D(np.zeros(10), dp.Axis(1.0)))

    def test_windows(self):
        axis = dp.Axis(2.0, 0.01, unit="keV")
        counts = 900 * axis.positions(400) ** -2.0
        counts[150:160] += 30
        counts[250:260] += 10
        a = dp.Array1D(counts, axis)
        windows = [Window(4.55, 0.1, 0.5, -0.1, 0.2, name="second"), Window(3.55, 0.1, 0.8, -0.1, 0.2, name="first")]
        fit = dp.fitting.windowed_power_law(a, windows)
        assert [p.name for p in fit.peaks] == ["first", "second"]
        assert [p.area for p in fit.peaks] == pytest.approx([3.0, 1.0])
        assert all(p.area_error > 0 for p in fit.peaks)
        assert fit.params["c1 of first"].value == pytest.approx(-2)
        assert fit.residual.values[150] == pytest.approx(30) and fit.residual.values[0] == counts[0]
        assert fit.eval(axis.positions(400)[150]) == pytest.approx(counts[150] - 30)


    @pytest.mark.parametrize("delta", [0.01, -0.01])
    @pytest.mark.parametrize("ends", [(-0.25, 0.5), (-0.2534, 0.503), (-0.2466, 0.497), (-9.0, 20.0), (1.5, 9.0)])
    def test_one_curve_over_windows_of_all_axes(self, delta, ends):
        axis = dp.Axis(5.0 if delta > 0 else 9.0, delta, unit="keV")
        x = axis.positions(400)
        counts = dp.Array1D(np.round(1e5 * x**-2.0), axis)
        fit = dp.fitting.windowed_power_law(counts, [Window(x[200], 0.3, 1.0, *ends)])
        assert fit.eval().values.any()
        for where in (axis, x, 5.0 + 0.01 * np.arange(1, 401)[::-1] if delta < 0 else 5.0 + 0.01 * np.arange(400)):
            found = fit.eval(where)
            assert getattr(found, "values", found) == pytest.approx(fit.eval().values, rel=1e-9)


class TestGaussians:
    def made(self, offset=5.0, delta=0.01):
        x = 5.0 + 0.01 * np.arange(500)
        width = 0.15 / (2 * math.sqrt(math.log(2)))
        wide = math.sqrt(0.15**2 + 0.0023 * 2) / (2 * math.sqrt(math.log(2)))
        y = 500 * np.exp(-(((x - 6.4) / width) ** 2)) + 100 * np.exp(-(((x - 8.4) / wide) ** 2))
        return dp.Array1D(y, dp.Axis(offset, delta, unit="keV"))

    def test_amplitudes_and_areas(self):
        a = self.made()
        lines = [Gaussian(6.4, 400, "Fe"), Gaussian(8.4, 80, "Zn")]
        fit = dp.fitting.gaussians(a, lines, (6.4, 0.15, 0.0023), [(6.0, 6.8), (8.0, 8.8)])
        assert [p.height for p in fit.peaks] == pytest.approx([500, 100], rel=1e-6)
        assert fit.peaks[0].area == pytest.approx(500 * fit.peaks[0].width * math.sqrt(math.pi))
        assert fit.n_free == 2 and fit.success and "optimum" in fit.message or "lowers" in fit.message
        assert np.abs(fit.residual.values).max() < 1e-2

    def test_calibration_and_resolution_come_out_and_inputs_stay(self):
        a = self.made(5.01, 0.00999)
        before = a.copy()
        lines = [Gaussian(6.4, 400, "Fe"), Gaussian(8.4, 80, "Zn")]
        fit = dp.fitting.gaussians(a, lines, (6.4, 0.16, 0.0023), [(6.0, 6.8), (8.0, 8.8)], ("calibration", "resolution"))
        assert fit.axis.position(0) == pytest.approx(5.0, abs=1e-6) and fit.axis.delta == pytest.approx(0.01, rel=1e-6)
        assert fit.axis.unit == "keV" and fit.params["fwhm"].value == pytest.approx(0.15, rel=1e-5)
        assert fit.params["delta"].vary and fit.params["delta"].stderr > 0
        assert a.identical(before) and lines[0].amplitude == 400

    def test_tied_amplitudes_keep_their_ratio(self):
        fit = dp.fitting.gaussians(
            self.made(), [Gaussian(6.4, 400, "Fe"), Gaussian(8.4, 100, "Zn", of="Fe")], (6.4, 0.15, 0.0023)
        )
        tied = fit.params["amplitude of Zn"]
        assert not tied.vary and tied.ref == "amplitude of Fe"
        assert tied.value == pytest.approx(fit.params["amplitude of Fe"].value / 4)
        assert tied.stderr == pytest.approx(fit.params["amplitude of Fe"].stderr / 4)

    def test_refusals(self):
        a = self.made()
        with pytest.raises(dp.FitError):
            dp.fitting.gaussians(a * math.nan, [Gaussian(6.4)], (6.4, 0.15, 0.0023))
        with pytest.raises(dp.FitError, match="keV|resolution"):
            dp.fitting.gaussians(a, [Gaussian(5.0)], (6.4, 0.15))
        with pytest.raises(dp.SingularFitError):
            dp.fitting.gaussians(a, [Gaussian(6.4, 1, "a"), Gaussian(6.4, 1, "b")], (6.4, 0.15, 0.0023))
        with pytest.raises(ValueError, match="same name"):
            dp.fitting.gaussians(a, [Gaussian(6.4, 1, "a"), Gaussian(7.4, 1, "a")], (6.4, 0.15, 0.0023))
        with pytest.raises(ValueError, match="called"):
            dp.fitting.gaussians(a, [Gaussian(6.4, of="b")], (6.4, 0.15, 0.0023))


class TestPeaks:
    def model(self):
        model = PeakModel()
        alpha = model.peak("gaussian", 6.38, 700, 0.05, name="Ka")
        beta = model.peak("gaussian", 7.04, 100, 0.05, name="Kb")
        model.tie(beta.width, alpha.width)
        model.polynomial([10, 0], 7.0, 2.0)
        return model, alpha, beta

    def test_areas_within_errors(self):
        model, alpha, beta = self.model()
        fit = dp.fitting.peaks(spectrum(), model)
        true = np.array([900, 150]) * 0.06 * math.sqrt(2 * math.pi)
        for peak, area in zip(fit.peaks, true):
            assert abs(peak.area - area) < 4 * peak.area_error
        assert fit.params[beta.width].ref == alpha.width
        assert 0.7 < fit.reduced < 1.3 and fit.n_points == 400 and fit.n_free == 7
        assert fit.peaks[0].fwhm == pytest.approx(2.3548 * fit.peaks[0].width, rel=1e-4)
        assert fit.residual.values.mean() == pytest.approx(0, abs=1)

    def test_the_model_does_not_change_and_can_be_copied_and_pickled(self):
        model, alpha, _ = self.model()
        starts = model.starts
        dp.fitting.peaks(spectrum(), model)
        assert model.starts == starts
        for made in (copy.copy(model), pickle.loads(pickle.dumps(model))):
            assert made.starts == starts and made.names == model.names
            made.start(alpha.height, 5)
            assert model.starts == starts

    def test_fixed_bounded_and_least_squares(self):
        model, alpha, _ = self.model()
        model.fix(alpha.position)
        model.bound(alpha.height, 0, 500)
        fit = dp.fitting.peaks(spectrum(), model, over=(6.0, 7.5), objective="least-squares")
        assert fit.params[alpha.position].value == 6.38 and not fit.params[alpha.position].vary
        assert fit.params[alpha.height].value == 500 and "bound" in fit.report()
        assert fit.n_points == 151

    def test_several_backgrounds_have_names_of_their_own(self):
        model = PeakModel()
        first, second = model.polynomial([1.0]), model.polynomial([2.0], 5.0)
        assert first != second and list(model.starts.values()) == [1, 2]
        assert model.power_law(1, -2, 5) == ("amplitude of the power law", "exponent of the power law")
        with pytest.raises(ValueError, match="called"):
            model.fix("nothing")
        with pytest.raises(dp.ProgramError):
            model.peak("gaussian", 1, 1, -1)
        with pytest.raises(ValueError, match="shape"):
            model.peak("round", 1, 1, 1)

    def test_counts_are_not_negative(self):
        with pytest.raises(dp.ProgramError):
            dp.fitting.peaks(dp.Array1D([-1.0, 2, 3, 4, 5, 6, 7]), self.model()[0])

    def test_the_report_of_the_library_is_at_hand(self):
        model = self.model()[0]
        assert "area" in str(_core.pkmd_fit(model._core, spectrum()))


def decay(t, height, life):
    return height * np.exp(-t / life)


class TestCurve:
    t = np.linspace(0, 5, 60)

    def test_finds_what_made_the_points(self):
        fit = dp.fitting.curve(decay, (self.t, decay(self.t, 900, 1.5)), (500, 1))
        assert fit.values == {"height": pytest.approx(900), "life": pytest.approx(1.5)}
        assert fit.success and fit.eval(1.5) == pytest.approx(900 / math.e)

    def test_agrees_with_the_normal_equations(self):
        rng = np.random.default_rng(4)
        sigma = rng.uniform(0.5, 2, 60)
        y = decay(self.t, 90, 1.5) + sigma * rng.normal(size=60)
        fit = dp.fitting.curve(decay, (self.t, y), {"height": 50, "life": 1}, deviations=sigma)
        height, life = fit.values.values()
        jacobian = np.stack([np.exp(-self.t / life), height * self.t / life**2 * np.exp(-self.t / life)]) / sigma
        covariance = np.linalg.inv(jacobian @ jacobian.T)
        assert fit.covariance == pytest.approx(covariance, rel=1e-6)
        gradient = jacobian @ ((y - decay(self.t, height, life)) / sigma)
        assert np.abs(gradient / np.sqrt(np.diag(covariance)) * covariance.diagonal()).max() < 1e-5

    def test_derivatives_of_ones_own(self):
        def rows(t, height, life):
            return np.stack([np.exp(-t / life), height * t / life**2 * np.exp(-t / life)])

        exact = dp.fitting.curve(decay, (self.t, decay(self.t, 900, 1.5)), (500, 1), derivatives=rows)
        assert exact.values["life"] == pytest.approx(1.5, rel=1e-12)
        with pytest.raises(ValueError, match="row of"):
            dp.fitting.curve(decay, (self.t, self.t), (1, 1), derivatives=lambda t, h, l: rows(t, h, l).T)

    def test_bounds_ties_and_fixed(self):
        def two(t, a, b, c):
            return a * np.exp(-t) + b * np.exp(-t / 3) + c

        y = two(self.t, 4, 2, 1)
        fit = dp.fitting.curve(two, (self.t, y), (1, 1, 1), ties={"b": ("a", 0.5)}, fixed=["c"])
        assert fit.values == {"a": pytest.approx(4), "b": pytest.approx(2), "c": 1}
        assert fit.params["b"].ref == "a" and not fit.params["c"].vary and fit.n_free == 1
        held = dp.fitting.curve(two, (self.t, y), (1, 1, 1), bounds={"a": (0, 3)})
        assert held.values["a"] == 3 and held.params["a"].note == "a bound holds it"
        with pytest.raises(ValueError, match="called"):
            dp.fitting.curve(two, (self.t, y), (1, 1, 1), fixed=["d"])

    def test_likelihood(self):
        counts = np.random.default_rng(3).poisson(decay(self.t, 9, 1.5) + 2)
        fit = dp.fitting.curve(
            lambda t, h, l, b: h * np.exp(-t / l) + b, (self.t, counts), (5, 1, 1), objective="likelihood",
            bounds={"b": (1e-3, 10)},
        )  # fmt: skip
        assert fit.eval(self.t).sum() == pytest.approx(counts.sum(), rel=1e-6)

    def test_over_an_array(self):
        axis = dp.Axis(0.0, 0.1)
        a = dp.Array1D(decay(axis.positions(60), 900, 1.5), axis, unit="counts")
        fit = dp.fitting.curve(decay, a, (500, 1), ranges=[(0, 2), (3, 6)])
        assert fit.n_points == 50 and np.abs(fit.residual.values).max() < 1e-6
        assert fit.eval().axis == axis and fit.eval(dp.Axis(1.0, 1.0)).values[0] == pytest.approx(900 * math.exp(-1 / 1.5))

    def test_undetermined_parameters_have_no_error(self):
        fit = dp.fitting.curve(lambda t, a, b: (a + b) * t, (self.t, self.t), (1.0, 1.0))
        assert all(math.isnan(p.stderr) and "determine" in p.note for p in fit.params.values())

    def test_what_the_model_raises_comes_through(self):
        class OfMine(Exception):
            pass

        def broken(*arguments):
            raise OfMine("here")

        with pytest.raises(OfMine, match="here"):
            dp.fitting.curve(broken, (self.t, self.t), {"a": 1.0})
        with pytest.raises(ValueError, match="values for 60 points"):
            dp.fitting.curve(lambda t, a: t[:3], (self.t, self.t), (1.0,))
        with pytest.raises(OfMine):
            dp.fitting.curve(decay, (self.t, self.t), (1.0, 1.0), observer=broken)

    def test_failure_has_the_state(self):
        with pytest.raises(dp.FitError) as caught:
            dp.fitting.curve(lambda t, a: 0 * t + math.nan * a, (self.t, self.t), (1.0,))
        assert not caught.value.result.success
        with pytest.raises(dp.FitError):
            dp.fitting.curve(decay, (self.t, decay(self.t, 900, 1.5)), (5, 1), most_evaluations=1)
        with pytest.raises(ValueError, match="finite"):
            dp.fitting.curve(decay, ([0.0, math.nan], [1.0, 2.0]), (1, 1))

    def test_observer_ends_the_fit(self):
        seen = []

        def watch(iteration, chi_square, parameters):
            seen.append((iteration, chi_square, parameters.copy()))
            return iteration == 2

        fit = dp.fitting.curve(decay, (self.t, decay(self.t, 900, 1.5)), (5, 1), observer=watch)
        assert [s[0] for s in seen] == [1, 2] and not fit.success and seen[1][1] < seen[0][1]

    def test_models_are_asked_once_for_all_points(self):
        asked = []

        def model(t, a):
            asked.append(t.size)
            return a * t

        t = np.linspace(0, 1, 1000)
        fit = dp.fitting.curve(model, (t, 2 * t), (1.0,))
        assert set(asked) == {1000} and len(asked) < 40 and fit.values["a"] == pytest.approx(2)

    def test_same_steps_as_a_function_of_one_point(self):
        y = decay(self.t, 900, 1.5) + np.sin(40 * self.t)
        check = _core.nlsq_check_derivatives(lambda t, p: decay(t, *p), None, self.t, [900.0, 1.5])
        assert check[0] < 1e-8
        linear = _core.nlsq_fit_linear(lambda t, p: p[0] + p[1] * t, self.t, y, 2)
        assert linear.parameters == pytest.approx(np.polynomial.polynomial.polyfit(self.t, y, 1))


class TestSolve:
    def test_against_numpy(self):
        rng = np.random.default_rng(5)
        a, b = rng.normal(size=(20, 4)), rng.normal(size=20)
        fit = dp.fitting.solve(a, b)
        x, residuals, rank, _ = np.linalg.lstsq(a, b, rcond=None)
        assert list(fit.values.values()) == pytest.approx(x) and fit.chi_square == pytest.approx(residuals[0])
        assert fit.covariance == pytest.approx(np.linalg.inv(a.T @ a) * residuals[0] / 16)
        with pytest.raises(ValueError, match="curve"):
            fit.eval(1.0)

    def test_refusals(self):
        with pytest.raises(dp.SizeError):
            dp.fitting.solve(np.ones((2, 3)), np.ones(2))
        with pytest.raises(dp.SizeError):
            dp.fitting.solve(np.ones((3, 2)), np.ones(2))
        with pytest.raises(ValueError):
            dp.fitting.solve(np.ones(3), np.ones(3))
        for singular in (np.zeros((3, 2)), [[1, 2], [2, 4], [3, 6]], [[1, 0], [0, 0], [1, 0]], [[1.0, 1.0 + 1e-16]] * 4):
            with pytest.raises(dp.SingularFitError, match="apart"):
                dp.fitting.solve(singular, np.ones(len(singular)))
        for a, b in (([[1j]], [1]), ([[1]], [1j]), ([["a"]], [1]), ([[1]], ["a"]), ([[None]], [1])):
            with pytest.raises(TypeError, match="^(fits take real numbers|solve takes numbers)"):
                dp.fitting.solve(a, b)
        for a, b in ((np.full((3, 2), math.nan), np.ones(3)), (np.eye(3, 2), [1, math.nan, 2])):
            with pytest.raises(dp.FitError):
                dp.fitting.solve(a, b)


class TestResult:
    def fits(self):
        x = AXIS.positions(400)
        yield dp.fitting.polynomial(spectrum())
        yield dp.fitting.power_law(spectrum())
        yield dp.fitting.windowed_power_law(spectrum(), [Window(6.4, 0.3, 0.5, -0.2, 0.4)])
        yield dp.fitting.gaussians(spectrum() + 0.0, [Gaussian(6.4, 800)], (6.4, 0.15, 0.0023), (6.2, 6.6))
        yield dp.fitting.curve(decay, (x, decay(x, 90, 1.5)), (5, 1))
        yield dp.fitting.solve(np.eye(3), [1, 2, 3])
        yield dp.fitting.peaks(spectrum(), TestPeaks().model()[0])

    def test_never_changes(self):
        for fit in self.fits():
            with pytest.raises(AttributeError):
                fit.chi_square = 0
            with pytest.raises(TypeError):
                fit.params["new"] = 1
            with pytest.raises(ValueError):
                fit.covariance[0, 0] = 1
            if fit._fitted is not None:
                fit.eval().values[:] = 0
                assert fit.eval().values.any()

    def test_is_pickled(self):
        for fit in self.fits():
            again = pickle.loads(pickle.dumps(fit))
            assert again.values == fit.values and again.report() == fit.report()
            assert again.covariance.tobytes() == fit.covariance.tobytes()
            if fit._curve is not None:
                assert np.array_equal(again.eval([5.5, 6.4]), fit.eval([5.5, 6.4]))

    def test_is_told(self):
        for fit in self.fits():
            report = fit.report()
            assert all(name in report for name in fit.params) and fit.kind in repr(fit)
            assert "<table>" in fit._repr_html_() and all(name in fit._repr_html_() for name in fit.params)

    def test_curves_elsewhere_agree_with_those_of_the_library(self):
        for fit in self.fits():
            if fit._fitted is not None:
                assert fit.eval(fit.axis.positions(400)) == pytest.approx(fit.eval().values, rel=1e-10)

    def test_shape_of_positions_is_kept(self):
        fit = dp.fitting.polynomial(spectrum())
        assert np.shape(fit.eval(6.0)) == () and fit.eval(np.zeros((2, 3))).shape == (2, 3)
        assert fit.eval(spectrum()).identical(fit.eval(spectrum()))


class TestSelection:
    def test_hears_of_its_ranges_once(self):
        window = dp.Range(1, 2)
        selection = Selection([window, (3, 4)])
        heard = []
        subscription = selection.on_change(lambda s: heard.append(len(s)))
        window.end = 5
        selection.add((7, 8))
        selection.add(window)
        selection.remove(window)
        window.end = 6
        selection.clear()
        assert heard == [2, 3, 2, 0]
        subscription.cancel()
        selection.add((1, 2))
        assert len(heard) == 4

    def test_what_listens_is_collected(self):
        window = dp.Range(1, 2)
        selection = Selection([window])
        reference = weakref.ref(selection)
        selection.on_change(lambda s, own=selection: None)
        del selection
        gc.collect()
        assert reference() is None and window._subscriptions == []

    def test_errors_of_listeners_come_through(self):
        selection = Selection()
        selection.on_change(lambda s: 1 / 0)
        with pytest.raises(ZeroDivisionError):
            selection.add((1, 2))
        assert len(selection) == 1


class TestMessages:
    def test_ranges_and_selections_tell_receivers(self):
        heard = []
        receiver = _core.mesg_cReceiver(heard.append)
        selection = _core.dasl_c1DDataArraySelection()
        selection.add_receiver(receiver)
        window = _core.rnge_c1DRange(1, 2)
        selection.add_range(window)
        window.end = 3
        window.end = 3
        assert heard == [_core.dasl_selection_changed] * 2 and selection.total_range().end == 3
        line = _core.plft_c1DPolyFittingFunction(1, selection)
        line.add_receiver(receiver)
        window.set(0, 1)
        assert sorted(heard[2:]) == sorted([_core.dasl_selection_changed, _core.ftfn_function_changed])
        del line
        assert heard[4:] == [_core.mesg_sender_destroyed]

    def test_a_function_keeps_what_it_refers_to(self):
        selection = _core.dasl_c1DDataArraySelection()
        selection.add_range(_core.rnge_c1DRange(0, 100))
        line = _core.plft_c1DPolyFittingFunction(1, selection)
        del selection
        gc.collect()
        line.refit(dp.Array1D(np.arange(100.0)))
        assert line.coefficients() == pytest.approx([0, 1], abs=1e-9)

    def test_cycles_through_callbacks_are_collected(self):
        class Owner:
            pass

        owner = Owner()
        owner.range = _core.rnge_c1DRange(1, 2)
        owner.receiver = _core.mesg_cReceiver(lambda id, owner=owner: None)
        owner.range.add_receiver(owner.receiver)
        reference = weakref.ref(owner)
        del owner
        gc.collect()
        assert reference() is None

    def test_what_a_callback_raises_comes_through(self):
        def broken(id):
            raise KeyError("mine")

        window = _core.rnge_c1DRange(1, 2)
        receiver = _core.mesg_cReceiver(broken)
        window.add_receiver(receiver)
        with pytest.raises(KeyError):
            window.end = 5
        assert window.end == 5
        receiver.leave_all()
        window.end = 6


class TestStreams:
    def test_text_goes_through(self):
        out = _core.tgio_cASCII_ostream()
        transform = _core.trns_cCoordTransformation(100.0, 0.1)
        assert out.write(True, "Yes") and out.write(7, "Count") and out.write(0.1, "Step")
        assert out.write("a \"quoted\" word", "Text") and out.write(transform, "Axis")
        read = _core.tgio_cASCII_istream(out.content())
        assert read.next_field() and read.current_name() == "Yes" and read.read_bool() is True
        assert read.read_int() == 7 and read.read_double() == 0.1 and read.read_text() == 'a "quoted" word'
        again = _core.trns_cCoordTransformation()
        assert read.read_object(again) and (again.offset, again.scale) == (100, 0.1)
        assert not read.next_field() and read.read_int() is None

    def test_bytes_go_through(self):
        out = _core.tgio_cBinary_ostream()
        assert out.write(-0.5, 300) and out.write("täg", 301)
        read = _core.tgio_cBinary_istream(out.content())
        assert read.next_field() and read.current_tag() == 300 and read.read_double() == -0.5
        assert read.read_text() == "täg"

    def test_damaged_bytes_are_refused(self):
        for content in (b"\xff" * 40, b"{", b"", b"\x01\x00\xff\xff\xff\xff"):
            for kind in (_core.tgio_cASCII_istream, _core.tgio_cBinary_istream):
                assert kind(content).read_double() is None

    def test_named_objects(self):
        line = _core.plft_c1DPolyFittingFunction(1, _core.dasl_c1DDataArraySelection())
        line.name = "straight"
        assert line.name == "straight" and line.object_type[0] == "NamedObject"


class TestTransforms:
    def test_positions_in_the_plane(self):
        x, y = _core.trns_cCoordTransformation(1.0, 2.0), _core.trns_cCoordTransformation(0.0, 10.0)
        assert _core.trns_transform_from_base((3.0, 4.0), x, y) == (7, 40)
        assert _core.trns_transform_to_base((7.0, 40.0), x, y) == (3, 4)
        assert _core.trns_transform((7.0, 40.0), x, y, y, x) == (30, 9)
        assert _core.trns_transform_from_base(3.0, x) == 7 and _core.trns_transform(7.0, x, y) == 30
        rect = _core.trns_transform_from_base(_core.rnge_c2DRange(0, 0, 1, 2), x, y)
        assert rect.corners[0] == (1, 0) and rect.corners[2] == (3, 20)


def with_curve():
    axis = dp.Axis(6.0, 0.01, unit="keV")
    x = axis.positions(80)
    counts = dp.Array1D(np.round(900 * np.exp(-(((x - 6.4) / 0.06) ** 2) / 2) + 20), axis, name="n", unit="counts")
    model = fitting.PeakModel()
    model.peak("gaussian", 6.38, 700, 0.05, name="Fe")
    model.curve(dp.Array1D(20 * np.ones(80), axis))
    return counts, model


def test_a_curve_given_element_by_element_is_part_of_the_curve():
    counts, model = with_curve()
    fit = fitting.peaks(counts, model)
    factor = fit.params["factor of the curve"].value
    assert fit.eval().values[0] == pytest.approx(20 * factor, rel=1e-6) and abs(fit.residual.values[0]) < 0.1
    assert fit.eval(counts).identical(fit.eval()) and fit.eval().unit == "counts"
    assert pickle.loads(pickle.dumps(fit)).eval().identical(fit.eval())
    for where in (dp.Axis(5.0, 0.01), [6.4]):
        with pytest.raises(ValueError, match="element by element"):
            fit.eval(where)


def test_what_goes_with_a_spectrum_lies_where_it_does():
    counts, model = with_curve()
    with pytest.raises(ValueError, match="weights"):
        fitting.peaks(counts, model, objective="least-squares", weights=dp.Array1D(np.ones(80), dp.Axis(100.0)))
    model.curve(dp.Array1D(np.ones(80), dp.Axis(100.0)))
    with pytest.raises(ValueError, match="curve"):
        fitting.peaks(counts, model)


def test_a_model_that_grows_meanwhile_is_fitted_as_it_was():
    counts, _ = with_curve()
    model = fitting.PeakModel()
    model.peak("gaussian", 6.38, 700, 0.05, name="Fe")
    model.polynomial([10])
    names = model.names
    fit = fitting.peaks(counts, model, observer=lambda *given: model.peak("gaussian", 6.6, 1.0, 0.05) and None)
    assert list(fit.params) == names and [peak.name for peak in fit.peaks] == ["Fe"] and len(model.names) > len(names)
    assert fit.eval().values[0] == pytest.approx(20, abs=0.5)


def test_the_likelihood_has_weights_of_its_own():
    counts, model = with_curve()
    with pytest.raises(dp.ProgramError, match='objective="least-squares"'):
        fitting.peaks(counts, model, weights=np.ones(80))
    with pytest.raises(ValueError, match="same name"):
        fitting.windowed_power_law(counts, [Window(6.4, 0.1, 0.2, -0.1, 0.2, "a"), Window(6.6, 0.1, 0.2, -0.1, 0.2, "a")])


def test_results_do_not_follow_the_data():
    a = spectrum()
    fits = [
        fitting.polynomial(a), fitting.power_law(a), fitting.curve(lambda x, p: p * x, a),
        fitting.windowed_power_law(a, [Window(6.4, 0.3, 0.5, -0.2, 0.4)]), fitting.peaks(a, TestPeaks().model()[0]),
        fitting.gaussians(a, [Gaussian(6.4, 800)], (6.4, 0.15, 0.0023), (6.2, 6.6)),
    ]  # fmt: skip
    before = [fit.residual.values.tolist() for fit in fits]
    a.values[:] = 0
    assert [fit.residual.values.tolist() for fit in fits] == before
    assert fitting.polynomial(spectrum().with_labels(unit="counts")).residual.unit == "counts"


def test_curves_have_the_labels_of_what_was_fitted():
    fit = fitting.polynomial(dp.Array1D([1.0, 2.0, 4.0], dp.Axis(unit="s"), name="n", unit="c"))
    for where in (None, dp.Axis(0.5), dp.Array1D([0.0, 1.0], unit="volt", name="vv")):
        assert (fit.eval(where).name, fit.eval(where).unit) == ("n", "c")
    with pytest.raises(dp.UnitError):
        fit.eval(dp.Axis(0.0, unit="keV"))


def test_masked_points_are_refused():
    y = np.ma.array([2.0, 400.0, 6.0], mask=[0, 1, 0])
    spectrum = dp.Array1D([1.0, 2.0, 3.0])
    for call in (lambda: fitting.curve(lambda x, a: a * x, ([1, 2, 3], y)), lambda: fitting.polynomial(spectrum, deviations=y),
                 lambda: fitting.curve(lambda x, a: a * x, ([1, 2, 3], [1, 2, 3]), deviations=y)):  # fmt: skip
        with pytest.raises(TypeError, match="masked"):
            call()


def test_complex_points_and_models_are_refused():
    with pytest.raises(TypeError, match="real"):
        fitting.curve(lambda x, a: a * x, ([1, 2, 3], [1j, 2, 3]))
    with pytest.raises(TypeError, match="real"):
        fitting.curve(lambda x, a: a * x * 1j, ([1, 2, 3], [2, 4, 6]))


@pytest.mark.parametrize(
    "call",
    [
        lambda c: fitting.curve(lambda x, a: a * x, ([1, 2, 3], [2, 4, 6]), derivatives=lambda x, a: [x * 1j]),
        lambda c: fitting.curve(lambda x, a: a * x, ([1, 2, 3], [2, 4, 6]), deviations=c),
        lambda c: fitting.curve(lambda x, a: a * x, ([1, 2, 3], [2, 4, 6]), c[:1]),
        lambda c: fitting.curve(lambda x, a: a * x, dp.Array1D([1, 2, 3]), deviations=c),
        lambda c: fitting.polynomial(dp.Array1D([1, 2, 3]), deviations=c),
        lambda c: fitting.polynomial(dp.Array1D([1, 2, 3]), deviations=dp.Array1D(c)),
        lambda c: fitting.peaks(dp.Array1D([1, 2, 3]), PeakModel(), objective="least-squares", weights=c),
    ],
    ids=["derivatives", "deviations of points", "start", "deviations", "of a polynomial", "in an array", "weights"],
)
def test_whatever_is_complex_is_refused(call):
    with pytest.raises(TypeError, match="real"):
        call(np.array([1j, 1, 1]))


def test_backgrounds_of_models_are_without_peaks():
    model = PeakModel()
    model.peak("gaussian", 6.4, 900, 0.06)
    model.polynomial([20.0, 1.0], 6.4)
    assert model.eval([6.4, 7.4], background=True).tolist() == [20, 21] and model.eval([6.4]).tolist() == [920]
    assert model.eval([6.4], [6.4, 1, 0.06, 5, 0], background=True).tolist() == [5]


def test_orders_are_whole():
    for call in (lambda: dp.fitting.polynomial(spectrum(), order=1.5), lambda: dp.fitting.power_law(spectrum(), order="1"),
                 lambda: dp.fitting.windowed_power_law(spectrum(), [Window(6.4, 0.2, 0.5, -0.2, 0.4)], order=None)):  # fmt: skip
        with pytest.raises(TypeError, match="the order is a whole number, not"):
            call()
    assert dp.fitting.polynomial(spectrum(), order=np.int8(2)).params["c2"].vary


def test_one_parameter_is_fixed_by_its_name():
    x = np.arange(5.0)
    fit = dp.fitting.curve(lambda x, aa, b: aa * x + b, (x, 2 * x), [2.0, 1.0], fixed="aa")
    assert not fit.params["aa"].vary and fit.params["b"].vary
    with pytest.raises(ValueError, match="'a'"):
        dp.fitting.curve(lambda x, aa, b: aa * x + b, (x, 2 * x), [2.0, 1.0], fixed="a")


def test_counts_of_points_weigh_as_those_of_arrays():
    y = np.array([0.0, 4.0, 9.0, 0.0])
    of_points = dp.fitting.curve(lambda x, p: p + 0 * x, (np.arange(4.0), y), deviations="counts")
    of_array = dp.fitting.curve(lambda x, p: p + 0 * x, dp.Array1D(y), deviations="counts")
    assert of_points.params["p"].value == of_array.params["p"].value == pytest.approx(2 / (2 + 1 / 4 + 1 / 9))


def test_equal_ranges_are_two():
    first, second = dp.Range(1, 2), dp.Range(1, 2)
    selection = Selection([first, second, first])
    assert len(selection) == 2
    selection.remove(second)
    assert [one is first for one in selection] == [True]


def test_windows_do_not_covary():
    fit = dp.fitting.windowed_power_law(spectrum(), [Window(6.4, 0.2, 0.5, -0.2, 0.4, "a"), Window(7.06, 0.2, 0.3, -0.2, 0.4, "b")])
    alone = dp.fitting.windowed_power_law(spectrum(), [Window(7.06, 0.2, 0.3, -0.2, 0.4, "b")])
    assert np.array_equal(fit.covariance[2:, 2:], alone.covariance) and not fit.covariance[:2, 2:].any()
    assert fit.covariance[0, 0] == pytest.approx(fit.params["c0 of a"].stderr ** 2)


def test_widths_follow_the_fitted_resolution():
    x = AXIS.positions(400)
    y = sum(900 * np.exp(-((x - at) ** 2) * 4 * math.log(2) / (0.14**2 + 0.0023 * (at - 6.4))) for at in (5.6, 6.4, 7.8))
    lines = [Gaussian(at, 700, f"{at}") for at in (5.6, 6.4, 7.8)]
    fit = dp.fitting.gaussians(dp.Array1D(y, AXIS), lines, (6.4, 0.12, 0.0023), fit=("resolution",))
    for peak in fit.peaks:
        wanted = math.sqrt(fit.params["fwhm"].value ** 2 + 0.0023 * (peak.position - 6.4))
        assert peak.fwhm == pytest.approx(wanted, rel=1e-12) and peak.fwhm == pytest.approx(2 * math.sqrt(math.log(2)) * peak.width)


def test_names_that_were_given_stay():
    model = fitting.PeakModel()
    model.peak("gaussian", 6.4, 1, 0.1)
    given = [*model.polynomial([10]), *model.power_law(1, -2, 5.0), *model.exponential(1, -1), *model.curve(dp.Array1D([1.0]))]
    second = [*model.polynomial([1, 2]), *model.power_law(1, -2, 5.0), *model.exponential(1, -1), *model.curve(dp.Array1D([1.0]))]
    assert set(given + second) <= set(model.names) and len(set(model.names)) == len(model.names)
    assert second[:2] == ["coefficient 0 (2)", "coefficient 1 (2)"] and second[2] == "amplitude of the power law (2)"
    model.fix(*given, *second)


def test_names_of_peaks_are_not_looked_into():
    model = fitting.PeakModel()
    for name in ("edge of the curve 1", "edge of the curve 2", "coefficient 0 of polynomial 1"):
        assert model.peak("gaussian", 1, 1, 1, name=name).position == f"position of {name}"


@pytest.mark.parametrize(("value", "error", "said"), [
    (295665.9, 1.7e3, "295700 +- 1700"), (5414.2143, 0.337, "5414.21 +- 0.34"), (1000004.0956, 0.00052, "1000004.09560 +- 0.00052"),
    (2.0, 0.1, "2.00 +- 0.10"), (3.0, 0.0996, "3.00 +- 0.10"), (99.6, 9.96, "100 +- 10"), (-5.55, 99.6, "-10 +- 100"),
    (-3.0, 1700.0, "0 +- 1700"), (-0.004, 1.5, "0.0 +- 1.5"), (0.0, 1.5, "0.0 +- 1.5"), (0.0, 2e12, "0 +- 2.0e+12"),
    (0.0, 1e-20, "0 +- 1.0e-20"), (2.957e11, 1.7e9, "2.957e+11 +- 1.7e+9"), (1.23456e-9, 3.4e-12, "1.2346e-9 +- 3.4e-12"),
    (4.3, 1.2e-15, "4.3 +- 1.2e-15"), (0.1 + 0.2, 1e-17, "0.30000000000000004 +- 1.0e-17"), (1e300, 1e-300, "1e+300 +- 1.0e-300"),
    (6.4, 1.2e-6, "6.4000000 +- 1.2e-6"), (6.4, 1.2e-5, "6.400000 +- 0.000012"), (-1.25e8, 1e6, "-125000000 +- 1000000"), (123456789.0, 3e7, "123000000 +- 30000000"), (1e300, 5e-324, "1e+300 +- 4.9e-324"),
    (2.5, 0.0, "2.5 +- 0"), (1e300, 0.0, "1e+300 +- 0"), (2.0, math.nan, "2"), (2.0, math.inf, "2"), (math.inf, 1.0, "inf"),
    (math.nan, 1.0, "nan"), (1 / 3, math.nan, "0.3333333"),
])  # fmt: skip
def test_values_are_written_to_the_second_digit_of_their_errors(value, error, said):
    assert str(fitting.Parameter("x", value, error)) == said
    assert str(fitting.Parameter("x", value, error, unit="keV")) == (said if said == "nan" else f"{said} keV")


@given(st.floats(-1e12, 1e12), st.floats(1e-9, 1e12))
def test_no_digit_that_matters_is_cut(value, error):
    shown, uncertain = map(float, str(fitting.Parameter("x", value, error)).split(" +- "))
    digit = 10.0 ** (math.floor(math.log10(uncertain) + 1e-9) - 1)
    assert abs(uncertain - error) <= 0.0501 * error and abs(shown - value) <= 0.5001 * digit + 1e-15 * abs(value)


def test_parameters_say_why_they_have_no_error():
    told = {str(fitting.Parameter("x", 2.0, *given, unit="eV")) for given in ((0.0, False), (0.0, False, "y"), (0.5, False, "y"),
            (0.5, False), (0.0, True, None, "a bound holds it"), (math.nan, True, None, "none"))}  # fmt: skip
    assert told == {"2 eV (fixed)", "2 eV (follows y)", "2.00 +- 0.50 eV (follows y)", "2.00 +- 0.50 eV", "2 eV"}


def several_peaks(unit="keV", quantity="counts"):
    """One determined, one of fixed position, one of which only the height is bound to be 0, one that follows that."""
    axis = dp.Axis(6.0, 0.01, unit=unit)
    x = axis.positions(150)
    counts = 900 * np.exp(-(((x - 6.4) / 0.06) ** 2) / 2) + 300 * np.exp(-(((x - 6.6) / 0.06) ** 2) / 2) + 20
    model = PeakModel()
    made = [model.peak("gaussian", at, height, 0.06, name=name)
            for name, at, height in (("free", 6.39, 800), ("still", 6.6, 200), ("none", 7.0, 0), ("tied", 7.2, 0))]  # fmt: skip
    model.polynomial([10.0])
    model.fix(made[1].position, made[2].height, made[3].height)
    model.bound(made[1].width, 0.01, 0.05)
    model.tie(made[3].position, made[2].position, 1.0, 0.2)
    return dp.fitting.peaks(dp.Array1D(counts, axis, unit=quantity), model), made


def test_peaks_without_errors_say_why():
    fit, made = several_peaks()
    free, still, none, tied = fit.peaks
    assert free.position_note == free.area_note == still.area_note == "" and 0 < free.position_error < 0.01 < free.area_error
    assert (still.position_note, still.position_error) == ("fixed", 0)
    for peak, names in ((none, made[2]), (tied, made[3])):
        assert math.isnan(peak.position_error) and math.isnan(peak.width_error) and math.isnan(peak.area_error)
        assert peak.position_note == peak.area_note == "not determined" and math.isnan(fit.params[names.position].stderr)
    rows = dict(line.strip().split("  ", 1) for line in fit.report().splitlines() if re.match("  .*  ", line))
    assert rows["still"].split("  ")[0].strip() == "6.6 keV (fixed)" and "6.6 keV (fixed)" in fit._repr_html_()
    assert "7 keV (not determined)" in rows["none"] and "0 counts keV (not determined)" in rows["none"]
    assert rows[made[1].position].strip() == "6.6 keV (fixed)" and rows[made[1].width].strip() == "0.05 keV"
    assert rows[made[3].position].strip() == f"7.2 keV (follows {made[2].position})"
    assert " +- 0 " not in fit.report() and "<td>6.4" in fit._repr_html_()


def test_areas_that_nothing_moves_say_why():
    x = AXIS.positions(400)
    model = PeakModel()
    low, still = model.peak("gaussian", 6.4, 5, 0.06, name="low"), model.peak("gaussian", 7.0, 30, 0.06, name="still")
    model.polynomial([20.0, 0.0], 7.0)
    model.bound(low.height, 0, 100)
    model.fix(low.position, low.width, *still[:3])
    dip = dp.Array1D(gaussian(x, 30, 7.0, 0.06) - gaussian(x, 9, 6.4, 0.06) + 20, AXIS)
    fit = dp.fitting.peaks(dip, model)
    assert [peak.area_note for peak in fit.peaks] == ["at its bound", "fixed"] and fit.peaks[0].area == 0
    assert fitting._without_error(0.0, [fitting.Parameter("x", 1.0, 0.0)]) == ""


def test_parameters_have_the_units_of_the_axis_and_of_the_values():
    fit, made = several_peaks()
    assert [fit.params[name].unit for name in made[0][:3]] == ["keV", "counts", "keV"] and fit.params["coefficient 0"].unit == ""
    report = fit.report()
    assert re.search(r"  position of free +6\.\d+ \+- 0\.000\d\d keV\n", report) and "counts keV" in report
    bare, _ = several_peaks("", "")
    assert all(parameter.unit == "" for parameter in bare.params.values()) and "keV" not in bare.report()
    assert several_peaks("eV", "")[0].report().count(" eV") == report.count(" keV")
    model = PeakModel()
    for shape in ("voigt", "pseudo-voigt", "tailed-gaussian"):
        model.peak(shape, 6.4, 100, 0.06, 0.5, name=f"{shape} of the law")
    model.power_law(1, -2, 5.0)
    model.width_law(0.06, 0.002, 6.4)
    units = dict(zip(model.names, model._units("keV", "V")))
    assert units["width of the law"] == "keV" and units["slope of the law"] == units["amplitude of the power law"] == ""
    assert [unit for name, unit in units.items() if name.startswith(("Lorentzian", "mixing", "tail"))] == ["keV", "", "keV"]
    line = dp.fitting.polynomial(dp.Array1D([1.0, 2, 4], dp.Axis(unit="mm")))
    assert line.params["offset"].unit == "mm" and line.params["c1"].unit == ""


def test_other_fits_have_units_and_say_what_is_fixed():
    x = AXIS.positions(400)
    data = dp.Array1D(500 * np.exp(-(((x - 6.4) / 0.09) ** 2)) + 1, AXIS, unit="counts")
    given = [fitting.Gaussian(6.4, 400, "a"), fitting.Gaussian(6.5, 40, "b", of="a")]
    fit = dp.fitting.gaussians(data, given, (6.4, 0.15, 0.0023))
    unit = AXIS.unit
    assert [fit.params[name].unit for name in ("offset", "delta", "fwhm", "center of a", "amplitude of a", "amplitude of b")] == [
        unit, unit, unit, unit, "counts", "counts"]  # fmt: skip
    assert all(peak.position_note == "fixed" and peak.area_note == "" for peak in fit.peaks)
    assert f"6.4{f' {unit}' if unit else ''} (fixed)" in fit.report()
    window = dp.fitting.windowed_power_law(spectrum(), [fitting.Window(6.4, 0.2, 0.5, -0.2, 0.4, "Fe")])
    assert window.peaks[0].position_note == "fixed" and window.peaks[0].position_error == 0


def test_downward_axes_are_fitted_over_their_own_range():
    x = dp.Axis(7.0, -0.01).positions(120)
    counts = dp.Array1D(900 * np.exp(-(((x - 6.4) / 0.06) ** 2) / 2) + 20, dp.Axis(7.0, -0.01))
    model = PeakModel()
    line = model.peak("gaussian", 6.38, 700, 0.05)
    model.polynomial([10])
    found = [fitting.peaks(counts, model, over=over).params[line.position].value for over in (None, counts.range)]
    assert found == pytest.approx([6.4, 6.4], abs=1e-5)
    with pytest.raises(TypeError, match="PeakModel"):
        fitting.peaks(counts, None)
