#pragma once

// One value of every kind and element type, as they were when the files beside the tests were
// written: what is here does not change, more may be added with a later version.

#include <limits>
#include <vector>

#include "dataprocessing/valuemodel/barr.h"
#include "dataprocessing/valuemodel/darr.h"
#include "dataprocessing/valuemodel/pnum.h"
#include "dataprocessing/valuemodel/rnge.h"
#include "tests/support/elements.h"

/// Elements that are hard to keep: the extremes of the type, zeros of both signs, infinities, NaN,
/// the smallest values, fractions without a finite binary form.
template<class T>
std::vector<T> hardElements() {
    if constexpr (isComplexElement<T>) {
        using Part = typename PartOf<T>::type;
        const std::vector<Part> parts = hardElements<Part>();
        std::vector<T> elements;
        for (std::size_t i = 0; i < parts.size(); ++i)
            elements.push_back(T(parts[i], parts[parts.size() - 1 - i]));
        return elements;
    } else {
        using Limits = std::numeric_limits<T>;
        std::vector<T> elements = {Limits::lowest(), Limits::max(), T(0), T(1), T(7), T(100)};
        if constexpr (std::is_floating_point_v<T>)
            elements.insert(elements.end(),
                            {T(-0.0), T(0.1), T(-1) / T(3), Limits::infinity(), -Limits::infinity(),
                             Limits::quiet_NaN(), Limits::min(), Limits::denorm_min(),
                             -Limits::denorm_min(), T(1e10), T(16777217), T(2) / T(3)});
        return elements;
    }
}

/// Calls `visit` with each of the values.
template<class Visit>
void forEachRecordSample(Visit visit) {
    const cal_c1DArrayCal cal(10.25, -0.1, 3);
    const cal_c2DArrayCal cal2(1e300, 0.1, -0.0, 1e-300, -2147483647 - 1, 2147483647);
    forEachElementType([&]<class T>(int code) {
        const std::vector<T> elements = hardElements<T>();
        const int count = static_cast<int>(elements.size());
        visit(pnum_cNumber(dtyp_cDataType(code), &elements[1]));
        visit(parr_c1DNumberArray(elements));
        visit(parr_c2DNumberArray(count / 2, 2, elements));
        visit(darr_c1DArray(elements, cal));
        visit(darr_c2DArray(2, count / 2, elements, cal2));
    });
    visit(darr_c1DArray());
    visit(darr_c2DArray(0, 5, dtyp_Int16, cal2));
    barr_c1DBoolArray mask(19);
    for (const int i : {0, 2, 3, 17})
        mask.Element(i) = 1;
    mask.SetCal(cal);
    visit(mask);
    barr_c2DBoolArray plane(3, 2);
    plane.Element(2, 1) = 1;
    plane.SetCal(cal2);
    visit(plane);
    visit(barr_c1DBoolArray());
    visit(cal);
    visit(cal2);
    visit(rnge_c1DRange(-0.0, std::numeric_limits<double>::infinity()));
    visit(rnge_c2DRange(1, 2, 3.5, 0.1));
    visit(rnge_c2DRange(1, 2, 4, 2, 0.0));
    visit(rnge_c2DRange(1, 2, 4, 2, 0.75));
}
