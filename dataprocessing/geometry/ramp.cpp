#include "dataprocessing/geometry/ramp.h"

#include <cmath>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/valuemodel/cal_steps.h"

using dataprocessing::detail::cal_cSteps;

namespace {

darr_c1DArray generate(int count, const cal_c1DArrayCal& cal) {
    darr_c1DArray ramp(count, parr_c1DNumberArray::t1DValueArray, cal);
    cal_cSteps x(cal);
    for (float& element : ramp.Elements<float>())
        element = static_cast<float>(x.Next());
    return ramp;
}

/// Every element of a 2D ramp is `value(x, y)`.
template<class Value>
void fill(darr_c2DArray& ramp, Value value) {
    float* element = ramp.Elements<float>().data();
    cal_cSteps rows(ramp.Cal().Y());
    for (int row = 0; row < ramp.SizeY(); ++row) {
        const double y = rows.Next();
        cal_cSteps columns(ramp.Cal().X());
        for (int column = 0; column < ramp.SizeX(); ++column)
            *element++ = static_cast<float>(value(columns.Next(), y));
    }
}

darr_c2DArray generate(ramp_eRampType type, int countX, int countY, const cal_c2DArrayCal& cal) {
    darr_c2DArray ramp(countX, countY, parr_c2DNumberArray::t2DValueArray, cal);
    switch (type) {
    case ramp_X:
        fill(ramp, [](double x, double) { return x; });
        return ramp;
    case ramp_Y:
        fill(ramp, [](double, double y) { return y; });
        return ramp;
    case ramp_Radius:
        fill(ramp, [](double x, double y) { return std::sqrt(x * x + y * y); });
        return ramp;
    case ramp_Angle:
        fill(ramp, [](double x, double y) { return x == 0 && y == 0 ? 0.0 : std::atan2(y, x); });
        return ramp;
    }
    throw expt_cProgramException("ramp", 1, "Unknown ramp type.");
}

} // namespace

ramp_c1DRamp::ramp_c1DRamp(int count, const cal_c1DArrayCal& cal)
    : count_(count), cal_(cal), array_(generate(count, cal)) {}

void ramp_c1DRamp::SetCal(const cal_c1DArrayCal& cal) { *this = ramp_c1DRamp(count_, cal); }

void ramp_c1DRamp::SetRange(const rnge_c1DRange& range) {
    *this = ramp_c1DRamp(cal_.Count(range.Length()), cal_);
}

ramp_c2DRamp::ramp_c2DRamp(ramp_eRampType type, int countX, int countY, const cal_c2DArrayCal& cal)
    : type_(type), countX_(countX), countY_(countY), cal_(cal),
      array_(generate(type, countX, countY, cal)) {}

void ramp_c2DRamp::SetCal(const cal_c2DArrayCal& cal) {
    *this = ramp_c2DRamp(type_, countX_, countY_, cal);
}

void ramp_c2DRamp::SetRange(const rnge_c2DRange& range) {
    *this =
        ramp_c2DRamp(type_, cal_.X().Count(range.Length()), cal_.Y().Count(range.Width()), cal_);
}
