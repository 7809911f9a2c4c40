"""What HyperSpy brings along loads, converts, and comes back equal."""

import pathlib

import dataprocessing as dp
import numpy as np
import pytest

pytest.importorskip("hyperspy")
pytestmark = pytest.mark.filterwarnings("ignore")

EXAMPLES = ["EDS_SEM_Spectrum", "EDS_TEM_Spectrum", "object_hologram", "reference_hologram"]
ARTIFICIAL = ["get_low_loss_eels_signal", "get_core_loss_eels_signal", "get_atomic_resolution_tem_signal2d"]


def load(name):
    import hyperspy.api as hs

    if name in ARTIFICIAL:
        return getattr(hs.datasets.artificial_data, name)()
    return getattr(hs.datasets.example_signals, name)()


def described(signal):
    return [
        (axis.size, axis.scale, axis.offset, axis.units if isinstance(axis.units, str) else "")
        for axis in signal.axes_manager._axes
    ]


@pytest.mark.parametrize("name", [*EXAMPLES, *ARTIFICIAL])
def test_there_and_back(name):
    signal = load(name)
    a = dp.from_hyperspy(signal)
    assert a.ndim == signal.data.ndim and np.array_equal(a.values, signal.data)
    assert a.dtype == {np.dtype("i8"): np.dtype("i4")}.get(signal.data.dtype, signal.data.dtype)
    assert [(count, axis.delta, axis.position(0), axis.unit) for count, axis in zip(a.shape, a.axes)] == described(signal)
    back = a.to_hyperspy()
    assert np.shares_memory(back.data, a.values) and described(back) == described(signal)
    assert back.metadata.General.title == signal.metadata.General.title
    again = dp.from_hyperspy(back)
    assert again.with_axes(*a.axes).identical(a)  # HyperSpy names axes that have no name


@pytest.mark.parametrize("name", ["EDS_SEM_Spectrum", "EDS_TEM_Spectrum"])
def test_spectra_are_measured_where_their_axis_says(name):
    signal = load(name)
    a = dp.from_hyperspy(signal)
    line = a.sel(0.9, a.range.end).idxmax()
    assert line == pytest.approx(signal.isig[0.9:].valuemax(0).data[0], abs=a.axis.delta / 100)
    net = a - dp.snip(a, 20)
    found = dp.find_peaks(dp.smooth_savgol(net, 7, 2), prominence=net.max() / 10)
    assert min(abs(one.position - line) for one in found) < 2 * a.axis.delta


def test_what_is_no_grid_is_refused():
    import hyperspy.api as hs

    with pytest.raises(ValueError, match="not uniform"):
        dp.from_hyperspy(hs.datasets.artificial_data.get_luminescence_signal())
    with pytest.raises(ValueError, match="one or two"):
        dp.from_hyperspy(hs.signals.Signal1D(np.zeros((2, 2, 3))))
    with pytest.raises(TypeError, match="filled"):
        dp.from_hyperspy(hs.signals.Signal1D(np.ma.array([1.0, 2.0, 3.0], mask=[0, 1, 0])))


def maps_of_files():
    import hyperspy

    folder = pathlib.Path(hyperspy.__file__).parent / "tests"
    return [
        folder / "signals/data/EELS_LL_linescan_simulated_thickness_variation.hspy",
        folder / "io/dm4_2D_data/test-MonarcCL_spectrum-SI.dm4",
    ]


@pytest.mark.parametrize("index", [0, 1])
def test_its_maps_are_maps(index):
    import hyperspy.api as hs

    path = maps_of_files()[index]
    if not path.exists():
        pytest.skip("it came without its samples")
    signal = hs.load(str(path))
    signal = signal[0] if isinstance(signal, list) else signal
    axis = signal.axes_manager[-1]
    calibration = dp.Axis(axis.offset, axis.scale)
    spectrum, image = dp.maps.sum(signal.data)
    np.testing.assert_allclose(spectrum, signal.sum(signal.axes_manager.navigation_axes).data, rtol=1e-6)
    np.testing.assert_allclose(image, signal.data.sum(-1), rtol=1e-6)
    middle = calibration.position(signal.data.shape[-1] // 2)
    window = (middle - 10 * abs(axis.scale), middle + 10 * abs(axis.scale))
    planes = dp.maps.integrate(np.abs(signal.data), {"middle": window}, calibration)
    inside = np.abs(calibration.positions(signal.data.shape[-1]) - middle) <= 10.000001 * abs(axis.scale)
    np.testing.assert_allclose(planes["middle"], np.abs(signal.data)[..., inside].sum(-1), rtol=1e-6)
    assert planes.status.shape == signal.data.shape[:-1]


def test_axes_with_an_index_and_units_lie_where_they_did():
    a = dp.Array1D(np.arange(4.0), dp.Axis(6.0, 0.5, 2, "E", "keV"), name="n", unit="counts (raw)")
    again = dp.from_hyperspy(a.to_hyperspy())
    assert again.positions.tolist() == a.positions.tolist() and (again.unit, again.name) == (a.unit, a.name)
