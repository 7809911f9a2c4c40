#pragma once

/// @file
/// Boolean arrays: masks with a calibrated extent.

#include "dataprocessing/base/type.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/platform/memory.h"
#include "dataprocessing/valuemodel/cal.h"
#include "dataprocessing/valuemodel/rnge.h"

namespace dataprocessing::detail {

template<class Mask>
DATAPROCESSING_NO_EXPORT Mask barr_Unset(int sizeX, int sizeY);

} // namespace dataprocessing::detail

/// A 1D boolean array, one byte per element: zero is false, anything else true.
///
/// It starts as all false on the default calibration. Comparisons give masks on that calibration
/// too: a mask meant for calibrated data is given the data's, `mask.SetCal(data.Cal())`.
class DATAPROCESSING_EXPORT barr_c1DBoolArray {
public:
    /// No element.
    barr_c1DBoolArray() noexcept = default;
    /// `size` elements, all false. Throws the size error when it is negative.
    explicit barr_c1DBoolArray(int size);

    /// The number of elements.
    int Size() const noexcept { return static_cast<int>(block_.Size()); }
    /// The calibration.
    const cal_c1DArrayCal& Cal() const& noexcept { return cal_; }
    /// The calibration of a temporary, by value.
    cal_c1DArrayCal Cal() const&& noexcept { return cal_; }
    /// Sets the calibration.
    void SetCal(const cal_c1DArrayCal& cal) noexcept { cal_ = cal; }
    /// The calibrated extent: from the position of element 0 to that of element Size().
    rnge_c1DRange Range() const;
    /// True when both have exactly the same range and the same delta.
    type_cBoolean IsRangeAndDelta(const barr_c1DBoolArray& other) const noexcept;

    /// Element `index`. Throws the index error outside [0, Size()).
    unsigned char& Element(int index) &;
    /// Element `index`, for reading.
    const unsigned char& Element(int index) const&;
    /// Element `index` of a temporary, by value.
    unsigned char Element(int index) const&& { return Element(index); }

private:
    template<class Mask>
    friend Mask dataprocessing::detail::barr_Unset(int sizeX, int sizeY);

    dataprocessing::detail::mem_cBlock block_;
    cal_c1DArrayCal cal_;
};

/// A 2D boolean array: row after row, x fastest; see barr_c1DBoolArray.
class DATAPROCESSING_EXPORT barr_c2DBoolArray {
public:
    /// No element.
    barr_c2DBoolArray() noexcept = default;
    /// `sizeX` by `sizeY` elements, all false. Throws the size error when a size is negative or the
    /// count passes 2^31-1.
    barr_c2DBoolArray(int sizeX, int sizeY);

    /// The number of columns.
    int SizeX() const noexcept { return sizeX_; }
    /// The number of rows.
    int SizeY() const noexcept { return sizeY_; }
    /// The number of elements.
    int Count() const noexcept { return static_cast<int>(block_.Size()); }
    /// The calibration.
    const cal_c2DArrayCal& Cal() const& noexcept { return cal_; }
    /// The calibration of a temporary, by value.
    cal_c2DArrayCal Cal() const&& noexcept { return cal_; }
    /// Sets the calibration.
    void SetCal(const cal_c2DArrayCal& cal) noexcept { cal_ = cal; }
    /// The calibrated extent, upright.
    rnge_c2DRange Range() const;
    /// True when both have exactly the same range and the same deltas.
    type_cBoolean IsRangeAndDelta(const barr_c2DBoolArray& other) const noexcept;

    /// Element (x, y). Throws the index error outside the array.
    unsigned char& Element(int x, int y) &;
    /// Element (x, y), for reading.
    const unsigned char& Element(int x, int y) const&;
    /// Element (x, y) of a temporary, by value.
    unsigned char Element(int x, int y) const&& { return Element(x, y); }

private:
    template<class Mask>
    friend Mask dataprocessing::detail::barr_Unset(int sizeX, int sizeY);

    dataprocessing::detail::mem_cBlock block_;
    dataprocessing::detail::mem_cCount sizeX_;
    dataprocessing::detail::mem_cCount sizeY_;
    cal_c2DArrayCal cal_;
};
