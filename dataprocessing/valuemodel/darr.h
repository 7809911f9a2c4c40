#pragma once

/// @file
/// Calibrated arrays: number arrays that know where they lie in calibrated space.

#include <complex>
#include <concepts>
#include <initializer_list>
#include <type_traits>
#include <utility>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/cal.h"
#include "dataprocessing/valuemodel/parr.h"
#include "dataprocessing/valuemodel/rnge.h"

/// How a value between elements is found.
enum darr_eInterpolation : int {
    /// The element that covers the position, that of rnge_IndexFloor.
    darr_NoInterpolation = 0,
    /// Linear between the positions of neighbouring elements; at the position of an element exactly
    /// that element, whatever its neighbours are.
    darr_LinearInterpolation = 1
};

/// Satisfied by what an element can be set to: a number, or a value that converts to a complex type
/// of the library or of the standard one.
template<class Value>
concept darr_ElementValue = std::convertible_to<Value, comp_cComplex<double>> ||
    std::convertible_to<Value, std::complex<double>> ||
    std::convertible_to<Value, std::complex<float>>;

/// Satisfied by a function of this many positions that gives an element.
template<class Function, class... Position>
concept darr_FunctionOf = std::invocable<Function&, Position...> &&
    darr_ElementValue<std::invoke_result_t<Function&, Position...>>;

namespace dataprocessing::detail {

/// What the values of a function of positions are kept as.
template<class Value>
using darr_Kept =
    std::conditional_t<std::convertible_to<Value, double>, double, comp_cComplex<double>>;

template<class Value>
darr_Kept<Value> darr_Keep(Value&& value) {
    if constexpr (std::convertible_to<Value, darr_Kept<Value>>)
        return static_cast<darr_Kept<Value>>(std::forward<Value>(value));
    else {
        using Standard = std::conditional_t<std::convertible_to<Value, std::complex<double>>,
                                            std::complex<double>, std::complex<float>>;
        const Standard number = std::forward<Value>(value);
        return {number.real(), number.imag()};
    }
}

} // namespace dataprocessing::detail

/// A calibrated 1D array (a spectrum, a line profile).
///
/// Element `i` covers the positions from Cal().Position(i) up to Cal().Position(i + 1). Which
/// element a position means is decided by cal_cArrayCal::RealIndex.
class DATAPROCESSING_EXPORT darr_c1DArray : public parr_c1DNumberArray {
public:
    /// No element, of type double, on the default calibration.
    darr_c1DArray() noexcept = default;
    /// `count` elements with undefined values. Throws the size error when it is negative.
    darr_c1DArray(int count, dtyp_cDataType type, const cal_c1DArrayCal& cal)
        : parr_c1DNumberArray(count, type), cal_(cal) {}
    /// `count` elements of the type and value of `fill`. Throws the size error when it is negative.
    darr_c1DArray(int count, const pnum_cNumber& fill, const cal_c1DArrayCal& cal)
        : parr_c1DNumberArray(count, fill), cal_(cal) {}
    /// The elements of `elements`, which may be moved in.
    explicit darr_c1DArray(parr_c1DNumberArray elements,
                           const cal_c1DArrayCal& cal = cal_c1DArrayCal()) noexcept
        : parr_c1DNumberArray(std::move(elements)), cal_(cal) {}
    /// A copy of the elements of `elements`, as doubles.
    darr_c1DArray(const arr_c1DNumberArray<double>& elements, const cal_c1DArrayCal& cal);
    /// A copy of the elements of a contiguous range: a vector, a span, an array. Throws the size
    /// error for more than 2^31-1.
    template<dtyp_Range Range>
    explicit darr_c1DArray(const Range& elements, const cal_c1DArrayCal& cal = cal_c1DArrayCal())
        : parr_c1DNumberArray(elements), cal_(cal) {}
    /// Refused: no element type holds such values. Convert them to one.
    template<parr_RangeNotStored OfNoElementType>
    explicit darr_c1DArray(const OfNoElementType&, const cal_c1DArrayCal& = {}) = delete;
    /// Refused: elements are copied from a range in one piece. Copy them to a vector before.
    template<parr_RangeNotContiguous NotContiguous>
    explicit darr_c1DArray(const NotContiguous&, const cal_c1DArrayCal& = {}) = delete;
    /// These elements, `{1, 2, 3}`, which are all of one C++ type; of none, doubles.
    template<dtyp_Stored T = double>
    darr_c1DArray(std::initializer_list<T> elements, const cal_c1DArrayCal& cal = cal_c1DArrayCal())
        : parr_c1DNumberArray(elements), cal_(cal) {}
    /// These numbers of several element types, `{1, 2.5, 3}`, as doubles, or as complex doubles
    /// where one is complex; these hold them all.
    darr_c1DArray(std::initializer_list<dtyp_cListed> elements,
                  const cal_c1DArrayCal& cal = cal_c1DArrayCal())
        : parr_c1DNumberArray(elements), cal_(cal) {}
    /// Refused: no element type holds such values. Convert them to one.
    template<dtyp_NotStored OfNoElementType>
    darr_c1DArray(std::initializer_list<OfNoElementType>, const cal_c1DArrayCal& = {}) = delete;

    /// The calibration.
    const cal_c1DArrayCal& Cal() const& noexcept { return cal_; }
    /// The calibration of a temporary, by value.
    cal_c1DArrayCal Cal() const&& noexcept { return cal_; }
    /// Sets the calibration.
    void SetCal(const cal_c1DArrayCal& cal) noexcept { cal_ = cal; }
    /// Sets the calibration's offset.
    void SetOffsetX(double offset) noexcept { cal_.SetOffset(offset); }
    /// Sets the calibration's delta.
    void SetDeltaX(double delta) noexcept { cal_.SetDelta(delta); }
    /// Sets the calibration's index.
    void SetCalIndexX(int index) noexcept { cal_.SetCalIndex(index); }

    /// The calibrated extent: from the position of element 0 to that of element Size().
    rnge_c1DRange Range() const;

    /// The elements from `first` up to but without `last`, as an array of its own. Indices may lie
    /// outside: elements there are zero. Every position stays where it was, because the calibration
    /// index moves. A last index that is not after the first gives no element. Throws the size
    /// error for more than 2^31-1 elements, and the index error when the calibration index would
    /// leave int.
    darr_c1DArray Selection(int first, int last) const;
    /// The same for an index range.
    darr_c1DArray Selection(const rnge_c1DIndexRange& range) const {
        return Selection(range.First(), range.Last());
    }
    /// The same for the indices that `select` finds for a calibrated range.
    darr_c1DArray Selection(const rnge_c1DRange& range, rnge_eIndexSelect select) const {
        return Selection(rnge_c1DIndexRange(range, cal_, select));
    }

    /// The value at position `x`. Outside the array the end element holds. Without interpolation
    /// the number has the array's type; linear interpolation gives a double for the integer types,
    /// so that nothing is rounded away, and the array's type otherwise. Throws the index error for
    /// an empty array or an `x` without an index (NaN, or a delta of zero), and
    /// expt_cProgramException ("darr", 1) for an interpolation that is none of
    /// darr_eInterpolation.
    pnum_cNumber Value(double x,
                       darr_eInterpolation interpolation = darr_LinearInterpolation) const;

    /// Sets every element to `value(x)` at its own position x, Cal().Position of its index. Values
    /// are taken in the order of the elements, as doubles or complex doubles, and converted to the
    /// array's type by the rules of conv_Convert: an array of integers rounds and clips them, a
    /// real one takes the real parts. When `value` throws, and for an array of an unknown element
    /// type (the error of conv_Convert), nothing has changed.
    ///
    ///     darr_c1DArray line(1024, dtyp_Float, cal);
    ///     line.Fill([](double x) { return std::exp(-x * x / 2); });
    template<darr_FunctionOf<double> Function>
    void Fill(Function&& value) {
        using Kept = dataprocessing::detail::darr_Kept<std::invoke_result_t<Function&, double>>;
        parr_c1DNumberArray filled(Size(), dtyp_Of<Kept>());
        Kept* element = static_cast<Kept*>(filled.Data());
        for (int i = 0; i < Size(); ++i)
            *element++ = dataprocessing::detail::darr_Keep(value(cal_.Position(i)));
        filled.Convert(DataType());
        parr_c1DNumberArray::operator=(std::move(filled));
    }

private:
    cal_c1DArrayCal cal_;
};

/// A calibrated 2D array (an image): row after row, x fastest.
class DATAPROCESSING_EXPORT darr_c2DArray : public parr_c2DNumberArray {
public:
    /// No element, of type double, on the default calibration.
    darr_c2DArray() noexcept = default;
    /// `sizeX` by `sizeY` elements with undefined values. Throws the size error when a size is
    /// negative or the count passes 2^31-1.
    darr_c2DArray(int sizeX, int sizeY, dtyp_cDataType type, const cal_c2DArrayCal& cal)
        : parr_c2DNumberArray(sizeX, sizeY, type), cal_(cal) {}
    /// `sizeX` by `sizeY` elements of the type and value of `fill`.
    darr_c2DArray(int sizeX, int sizeY, const pnum_cNumber& fill, const cal_c2DArrayCal& cal)
        : parr_c2DNumberArray(sizeX, sizeY, fill), cal_(cal) {}
    /// The elements of `elements`, which may be moved in.
    explicit darr_c2DArray(parr_c2DNumberArray elements,
                           const cal_c2DArrayCal& cal = cal_c2DArrayCal()) noexcept
        : parr_c2DNumberArray(std::move(elements)), cal_(cal) {}
    /// A copy of the elements of a contiguous range, row after row. Throws the size error unless it
    /// has sizeX times sizeY.
    template<dtyp_Range Range>
    darr_c2DArray(int sizeX, int sizeY, const Range& elements,
                  const cal_c2DArrayCal& cal = cal_c2DArrayCal())
        : parr_c2DNumberArray(sizeX, sizeY, elements), cal_(cal) {}
    /// Refused: no element type holds such values. Convert them to one.
    template<parr_RangeNotStored OfNoElementType>
    darr_c2DArray(int, int, const OfNoElementType&, const cal_c2DArrayCal& = {}) = delete;
    /// Refused: elements are copied from a range in one piece. Copy them to a vector before.
    template<parr_RangeNotContiguous NotContiguous>
    darr_c2DArray(int, int, const NotContiguous&, const cal_c2DArrayCal& = {}) = delete;
    /// These elements, row after row, which are all of one C++ type. Throws the size error unless
    /// there are sizeX times sizeY.
    template<dtyp_Stored T = double>
    darr_c2DArray(int sizeX, int sizeY, std::initializer_list<T> elements,
                  const cal_c2DArrayCal& cal = cal_c2DArrayCal())
        : parr_c2DNumberArray(sizeX, sizeY, elements), cal_(cal) {}
    /// These numbers of several element types, `{1, 2.5, 3}`, as doubles, or as complex doubles
    /// where one is complex; these hold them all.
    darr_c2DArray(int sizeX, int sizeY, std::initializer_list<dtyp_cListed> elements,
                  const cal_c2DArrayCal& cal = cal_c2DArrayCal())
        : parr_c2DNumberArray(sizeX, sizeY, elements), cal_(cal) {}
    /// Refused: no element type holds such values. Convert them to one.
    template<dtyp_NotStored OfNoElementType>
    darr_c2DArray(int, int, std::initializer_list<OfNoElementType>,
                  const cal_c2DArrayCal& = {}) = delete;

    /// The calibration.
    const cal_c2DArrayCal& Cal() const& noexcept { return cal_; }
    /// The calibration of a temporary, by value.
    cal_c2DArrayCal Cal() const&& noexcept { return cal_; }
    /// Sets the calibration.
    void SetCal(const cal_c2DArrayCal& cal) noexcept { cal_ = cal; }
    /// Sets the offset of X.
    void SetOffsetX(double offset) noexcept { cal_.X().SetOffset(offset); }
    /// Sets the delta of X.
    void SetDeltaX(double delta) noexcept { cal_.X().SetDelta(delta); }
    /// Sets the calibration index of X.
    void SetCalIndexX(int index) noexcept { cal_.X().SetCalIndex(index); }
    /// Sets the offset of Y.
    void SetOffsetY(double offset) noexcept { cal_.Y().SetOffset(offset); }
    /// Sets the delta of Y.
    void SetDeltaY(double delta) noexcept { cal_.Y().SetDelta(delta); }
    /// Sets the calibration index of Y.
    void SetCalIndexY(int index) noexcept { cal_.Y().SetCalIndex(index); }

    /// The calibrated extent, upright: from the position of element (0, 0) to that of (SizeX(),
    /// SizeY()).
    rnge_c2DRange Range() const;

    /// Columns from `firstX` up to but without `lastX`, rows likewise, as an array of its own; see
    /// darr_c1DArray::Selection.
    darr_c2DArray Selection(int firstX, int firstY, int lastX, int lastY) const;
    /// The same for an index range.
    darr_c2DArray Selection(const rnge_c2DIndexRange& range) const {
        return Selection(range.X().First(), range.Y().First(), range.X().Last(), range.Y().Last());
    }
    /// The same for the indices that `select` finds for the upright hull of a calibrated range.
    darr_c2DArray Selection(const rnge_c2DRange& range, rnge_eIndexSelect select) const {
        return Selection(rnge_c2DIndexRange(range, cal_, select));
    }

    /// Row `y` as a 1D array with the calibration of X. Throws the index error outside [0,
    /// SizeY()).
    darr_c1DArray LineAtY(int y) const;
    /// Column `x` as a 1D array with the calibration of Y. Throws the index error outside [0,
    /// SizeX()).
    darr_c1DArray LineAtX(int x) const;

    /// The value at position (x, y): see darr_c1DArray::Value. Linear interpolation is along X in
    /// the rows below and above, then between those along Y, in double precision, and rounded once;
    /// an element of weight zero does not matter, even when it is infinite or NaN. Throws the same
    /// errors.
    ///
    ///     image.Value(10.5, -2.25, darr_LinearInterpolation)
    pnum_cNumber Value(double x, double y,
                       darr_eInterpolation interpolation = darr_LinearInterpolation) const;

    /// Sets every element to `value(x, y)` at its own position; see darr_c1DArray::Fill.
    ///
    ///     image.Fill([](double x, double y) { return x * x + y * y < 4 ? 1 : 0; });
    template<darr_FunctionOf<double, double> Function>
    void Fill(Function&& value) {
        using Kept =
            dataprocessing::detail::darr_Kept<std::invoke_result_t<Function&, double, double>>;
        parr_c2DNumberArray filled(SizeX(), SizeY(), dtyp_Of<Kept>());
        Kept* element = static_cast<Kept*>(filled.Data());
        for (int row = 0; row < SizeY(); ++row)
            for (int column = 0; column < SizeX(); ++column)
                *element++ = dataprocessing::detail::darr_Keep(
                    value(cal_.X().Position(column), cal_.Y().Position(row)));
        filled.Convert(DataType());
        parr_c2DNumberArray::operator=(std::move(filled));
    }

private:
    cal_c2DArrayCal cal_;
};
