#include "dataprocessing/valuemodel/cal_section.h"

#include <cmath>
#include <limits>
#include <utility>

namespace dataprocessing::detail {

cal_cSection::cal_cSection(const cal_c1DArrayCal& cal, double from, double to) noexcept
    : first_(cal.RealIndex(from)), last_(cal.RealIndex(to)) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    if (cal.Delta() < 0) {
        std::swap(first_, last_);
    } else if (cal.Delta() == 0 || !std::isfinite(cal.Delta())) { // at one place, or at none
        const bool isAll = cal.Delta() == 0 && cal.Offset() >= from && cal.Offset() <= to;
        first_ = isAll ? -infinity : infinity;
        last_ = infinity;
    }
}

} // namespace dataprocessing::detail
