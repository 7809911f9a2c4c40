#include "dataprocessing/valuemodel/cal.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/valuemodel/cal_index.h"

using namespace dataprocessing::detail;

const cal_c1DArrayCal cal_c1DArrayCal::Default;
const cal_c2DArrayCal cal_c2DArrayCal::Default;

double cal_cArrayCal::RealIndex(double x) const noexcept {
    return cal_RealIndexOf(offset_, delta_, calIndex_, x);
}

double cal_cArrayCal::Tolerance(double x) const noexcept {
    return cal_ToleranceOf(offset_, delta_, x);
}

double cal_cArrayCal::NearestIndex(double x) const noexcept {
    const double index = RealIndex(x);
    const double below = std::floor(index);
    if (index == below)
        return index;
    return index - below >= 0.5 - Tolerance(x) ? below + 1 : below;
}

int cal_cArrayCal::Index(double x) const noexcept {
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    const double nearest = NearestIndex(x);
    return std::isnan(nearest) ? 0 : static_cast<int>(std::clamp(nearest, lowest, highest));
}

int cal_cArrayCal::Count(double length) const {
    const double count = std::floor(length / delta_ + 0.5);
    if (std::isnan(count))
        arr_SizeError();
    return arr_CheckedSize(static_cast<long long>(std::clamp(count, -0x1p62, 0x1p62)));
}

std::ostream& operator<<(std::ostream& stream, const cal_cArrayCal& cal) {
    return stream << "offset " << cal.Offset() << ", delta " << cal.Delta() << ", index "
                  << cal.CalIndex();
}
std::ostream& operator<<(std::ostream& stream, const cal_c2DArrayCal& cal) {
    return stream << "x: " << cal.X() << "; y: " << cal.Y();
}
