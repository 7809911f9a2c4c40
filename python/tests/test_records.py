"""Records of the library, as bytes: what C++ saves Python loads, and the other way round."""

import pathlib

import dataprocessing as dp
import numpy as np
import pytest
from dataprocessing import _core

FORMS = [_core.Form.BINARY, _core.Form.TEXT]
AXIS = dp.Axis(6.2, 0.1, 3)
KEPT = pathlib.Path(__file__).parents[2] / "tests"


def loaded(value, form, into=None):
    content = _core.rcrd_save(value, form)
    made, end = _core.rcrd_load(content, into or type(value))
    assert end == len(content)
    return made


@pytest.mark.parametrize("form", FORMS)
@pytest.mark.parametrize("dtype", ["u1", "u2", "u4", "i1", "i2", "i4", "f4", "f8", "c8", "c16"])
def test_arrays_come_back_bit_for_bit(dtype, form):
    values = np.array([0, 1, 2, 100]).astype(dtype)
    if values.dtype.kind in "fc":
        values[1:3] = -0.0, np.inf
    line = dp.Array1D(values, AXIS)
    found = loaded(line, form)
    assert found.dtype == line.dtype and found.values.tobytes() == values.tobytes() and found.axis == AXIS
    image = dp.Array2D(values.reshape(2, 2), (AXIS, dp.Axis(1, 2)))
    found = loaded(image, form)
    assert found.dtype == image.dtype and found.values.tobytes() == values.tobytes() and found.axes == image.axes


@pytest.mark.parametrize("form", FORMS)
def test_other_values(form):
    mask = dp.Array1D([1, 5, 2], AXIS) > 1
    found = loaded(mask, form)
    assert found.values.tolist() == [False, True, True] and found.axis == AXIS
    found = loaded(dp.Array2D([[1, 5, 2]]) > 1, form)
    assert found.values.tolist() == [[False, True, True]]
    assert loaded(AXIS, form) == AXIS
    range_ = _core.rnge_c1DRange(2.5, 7)
    assert (loaded(range_, form).start, loaded(range_, form).end) == (2.5, 7)
    for number in (np.float32(1.5), np.uint8(7), np.complex128(1 - 2j)):
        found = loaded(number, form, np.number)
        assert found == number and found.dtype == number.dtype


def test_labels_are_left_out():
    line = dp.Array1D([1.0], dp.Axis(6, 0.1, name="energy", unit="keV"), unit="counts")
    found = loaded(line, FORMS[0])
    assert (found.unit, found.axis.unit, found.axis.delta) == ("", "", 0.1)


def fitted():
    """The model of a line, the line, and what its fit gives."""
    x = AXIS.positions(60)
    data = dp.Array1D(np.round(20 + 300 * np.exp(-(((x - 9) / 0.3) ** 2) / 2)), AXIS)
    model = _core.pkmd_cModel()
    model.add_peak(_core.Shape.GAUSSIAN, 9, 300, 0.3)
    model.add_polynomial([20])
    result = _core.pkmd_fit(model, data)
    return model, data, result


@pytest.mark.parametrize("form", FORMS)
def test_fits(form):
    model, data, result = fitted()
    again = loaded(result, form)
    assert np.array_equal(again.fit.parameters, result.fit.parameters) and again.names == result.names
    assert str(again) == str(result)
    assert np.array_equal(loaded(result.fit, form).covariance, result.fit.covariance)
    empty = _core.pkmd_cModel()
    assert loaded(model, form, empty) is empty and np.array_equal(empty.starts(), model.starts())
    assert loaded(_core.gsft_cGaussian(3, 2, 1), form, _core.gsft_cGaussian(1, 1, 1)).center == 2
    assert loaded(_core.gsft_cResolution(6.4, 0.15, 2), form, _core.gsft_cResolution(1, 1)).fwhm(6.4) == 0.15
    selection = _core.dasl_c1DDataArraySelection()
    selection.add_local_range(_core.rnge_c1DRange(6, 9))
    for kind in (
        _core.plft_c1DPolyFittingFunction, _core.plft_c1DOffsetPolyFittingFunction, _core.pwft_cPowerLawFittingFunction
    ):  # fmt: skip
        curve, other = kind(1, selection), kind(1, selection)
        curve.refit(data)
        assert loaded(curve, form, other) is other
        assert np.array_equal(other.coefficients(), curve.coefficients()) and other.rank() == curve.rank()


def test_records_stand_one_after_the_other():
    content = _core.rcrd_save(AXIS) + _core.rcrd_save(dp.Array1D([1, 2])) + _core.rcrd_save(np.int32(5), _core.Form.TEXT)
    axis, end = _core.rcrd_load(content, dp.Axis)
    line, end = _core.rcrd_load(content, dp.Array1D, end)
    number, end = _core.rcrd_load(content, np.number, end)
    assert axis == AXIS and line.values.tolist() == [1, 2] and number == 5 and end == len(content)
    for start in (end, end + 1, 10**9):
        with pytest.raises(dp.DataError):
            _core.rcrd_load(content, dp.Axis, start)


def test_as_fields_of_streams():
    line = dp.Array1D([1.5, 2.5], AXIS)
    text = _core.tgio_cASCII_ostream()
    assert _core.rcrd_write(text, line, "Line") and _core.rcrd_write(text, AXIS, "Axis")
    read = _core.tgio_cASCII_istream(text.content())
    assert read.next_field() and read.current_name() == "Line"
    assert _core.rcrd_read(read, dp.Array1D).values.tolist() == [1.5, 2.5]
    assert read.next_field() and _core.rcrd_read(read, dp.Axis) == AXIS
    binary = _core.tgio_cBinary_ostream()
    assert _core.rcrd_write(binary, np.float64(3), 7)
    read = _core.tgio_cBinary_istream(binary.content())
    assert read.next_field() and read.current_tag() == 7 and _core.rcrd_read(read, dp.Axis) is None
    read = _core.tgio_cBinary_istream(binary.content())
    assert read.next_field() and _core.rcrd_read(read, np.number) == 3


def test_refusals():
    content = _core.rcrd_save(dp.Array1D([1, 2]))
    with pytest.raises(dp.DataError, match="rcrd:5|no record"):
        _core.rcrd_load(content, dp.Array2D)
    with pytest.raises(dp.DataError):
        _core.rcrd_load(content[:-3], dp.Array1D)
    for into in (int, "Array1D", None, dp.Array1D([1])):
        with pytest.raises(TypeError, match="a record is loaded into"):
            _core.rcrd_load(content, into)
    with pytest.raises(TypeError):
        _core.rcrd_save("text")


def test_what_was_kept_is_read():
    kept = sorted(KEPT.glob("*/records/*.rec"))
    assert kept
    first = kept[0].read_bytes()
    found = None
    for into in (dp.Array1D, dp.Array2D, dp.Mask1D, dp.Mask2D, dp.Axis, np.number, _core.nlsq_sResult, _core.pkmd_cModel()):
        try:
            found = _core.rcrd_load(first, into)
        except dp.DataError:
            continue
    assert found is not None and 0 < found[1] <= len(first)


def test_intervals_and_reports():
    model, data, result = fitted()
    lower, upper = _core.pkmd_interval(model, data, result, model.height(0))
    height, error = result.peaks[0].height, result.peaks[0].height_error
    assert lower < height < upper and upper - lower == pytest.approx(2 * error, rel=0.05)
    assert "keV" in _core.pkmd_report(result, "keV", "counts") and _core.pkmd_report(result) == str(result)
