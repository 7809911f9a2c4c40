#pragma once

// What Python objects hold: the library's values and the words that users put beside them.

#include <memory>
#include <string>
#include <utility>

#include "dataprocessing/dataprocessing.h"

namespace dataprocessing::python {

/// A name and a unit. Nearly all arrays have neither, and then there is no storage.
class cLabels {
public:
    cLabels() = default;
    cLabels(std::string name, std::string unit) {
        if (!name.empty() || !unit.empty())
            words_ = std::make_shared<const sWords>(sWords{std::move(name), std::move(unit)});
    }

    const std::string& Name() const noexcept { return Words().name; }
    const std::string& Unit() const noexcept { return Words().unit; }
    bool IsEmpty() const noexcept { return words_ == nullptr; }

    friend bool operator==(const cLabels& a, const cLabels& b) noexcept {
        return a.words_ == b.words_ || a.Words() == b.Words();
    }

private:
    struct sWords {
        std::string name;
        std::string unit;
        friend bool operator==(const sWords&, const sWords&) = default;
    };

    const sWords& Words() const noexcept {
        static const sWords none;
        return words_ ? *words_ : none;
    }

    std::shared_ptr<const sWords> words_;
};

/// One axis: a calibration and what it is called. It never changes.
struct sAxis {
    cal_cArrayCal cal;
    cLabels labels;
    friend bool operator==(const sAxis&, const sAxis&) = default;
};

/// An array or a mask with its labels. `axes` holds those of y and x, or of the only axis.
template<class Values, int N>
struct tObject {
    static constexpr int dimensions = N;
    using tValues = Values;

    Values values;
    cLabels labels;
    cLabels axes[N];

    cal_cArrayCal Cal(int axis) const noexcept {
        if constexpr (N == 1)
            return values.Cal();
        else
            return axis == 0 ? values.Cal().Y() : values.Cal().X();
    }
    sAxis Axis(int axis) const { return {Cal(axis), axes[axis]}; }
    void SetAxis(int axis, const sAxis& to) {
        auto cal = values.Cal();
        if constexpr (N == 1)
            cal = cal_c1DArrayCal(to.cal);
        else
            (axis == 0 ? cal.Y() : cal.X()) = to.cal;
        values.SetCal(cal);
        axes[axis] = to.labels;
    }
    /// The count along an axis.
    int Size(int axis) const noexcept {
        if constexpr (N == 1)
            return values.Size();
        else
            return axis == 0 ? values.SizeY() : values.SizeX();
    }
    int Count() const noexcept {
        if constexpr (N == 1)
            return values.Size();
        else
            return values.Count();
    }
};

using sArray1D = tObject<darr_c1DArray, 1>;
using sArray2D = tObject<darr_c2DArray, 2>;
using sMask1D = tObject<barr_c1DBoolArray, 1>;
using sMask2D = tObject<barr_c2DBoolArray, 2>;

/// Values with the same axes and labels.
template<class Object, class Like, class Values>
Object like(const Like& other, Values&& values, const cLabels& labels) {
    Object result{std::forward<Values>(values), labels, {}};
    for (int axis = 0; axis < Object::dimensions; ++axis)
        result.axes[axis] = other.axes[axis];
    return result;
}

} // namespace dataprocessing::python
