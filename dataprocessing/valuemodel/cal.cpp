#include "dataprocessing/valuemodel/cal.h"

#include <cmath>
#include <limits>
#include <ostream>

const cal_c1DArrayCal cal_c1DArrayCal::Default;
const cal_c2DArrayCal cal_c2DArrayCal::Default;

int cal_cArrayCal::Index(double x) const noexcept {
    const double nearest = std::floor(RealIndex(x) + 0.5);
    if (std::isnan(nearest))
        return 0;
    if (nearest <= std::numeric_limits<int>::min())
        return std::numeric_limits<int>::min();
    if (nearest >= std::numeric_limits<int>::max())
        return std::numeric_limits<int>::max();
    return static_cast<int>(nearest);
}

std::ostream& operator<<(std::ostream& stream, const cal_cArrayCal& cal) {
    return stream << "offset " << cal.Offset() << ", delta " << cal.Delta() << ", index "
                  << cal.CalIndex();
}
std::ostream& operator<<(std::ostream& stream, const cal_c2DArrayCal& cal) {
    return stream << "x: " << cal.X() << "; y: " << cal.Y();
}
