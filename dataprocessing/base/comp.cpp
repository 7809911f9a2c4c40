#include "dataprocessing/base/comp.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>

namespace {

/// (p + q r) / d where r = s / t; the form that keeps its accuracy when r has vanished.
double smithPart(double p, double q, double r, double s, double t, double d) {
    if (r != 0) {
        const double qr = q * r;
        return qr != 0 ? (p + qr) / d : p / d + (q / d) * r;
    }
    return (p + s * (q / t)) / d;
}

template<class T>
bool isFinite(const comp_cComplex<T>& z) {
    return std::isfinite(z.re) && std::isfinite(z.im);
}
template<class T>
bool isNaN(const comp_cComplex<T>& z) {
    return std::isnan(z.re) || std::isnan(z.im);
}

/// The point of the unit square in whose direction an infinite value lies.
template<class T>
comp_cComplex<T> direction(const comp_cComplex<T>& z) {
    const auto part = [](T x) { return std::copysign(std::isinf(x) ? T(1) : T(0), x); };
    return {part(z.re), part(z.im)};
}

/// A finite value in the same direction whose parts have finite sums. Only large parts are halved:
/// the half of the smallest one is zero.
template<class T>
comp_cComplex<T> withoutOverflow(const comp_cComplex<T>& z) {
    const T scale = std::max(std::fabs(z.re), std::fabs(z.im)) > 1 ? T(0.5) : T(1);
    return {z.re * scale, z.im * scale};
}

/// The quotient where an operand is not finite or the divisor is zero.
template<class T>
comp_cComplex<T> divideSpecial(const comp_cComplex<T>& a, const comp_cComplex<T>& b) {
    using limits = std::numeric_limits<T>;
    if (isNaN(a) || isNaN(b) || !(isFinite(a) || isFinite(b)))
        return {limits::quiet_NaN(), limits::quiet_NaN()};
    if (b == comp_cComplex<T>()) {
        const T infinity = std::copysign(limits::infinity(), b.re);
        return {a.re * infinity, a.im * infinity};
    }
    // One of them is infinite, the other one is not.
    const comp_cComplex<T> x = isFinite(a) ? withoutOverflow(a) : direction(a);
    const comp_cComplex<T> y = isFinite(b) ? withoutOverflow(b) : direction(b);
    const T size = isFinite(b) ? limits::infinity() : T(0);
    return {size * (x.re * y.re + x.im * y.im), size * (x.im * y.re - x.re * y.im)};
}

} // namespace

comp_cComplex<float> comp_Divide(const comp_cComplex<float>& a,
                                 const comp_cComplex<float>& b) noexcept {
    const double ar = a.re, ai = a.im, br = b.re, bi = b.im;
    const double d = br * br + bi * bi;
    const double re = (ar * br + ai * bi) / d;
    const double im = (ai * br - ar * bi) / d;
    // Floats cannot overflow in double, nor can this sum: one of its terms is not finite where an
    // operand is not, and where the divisor is zero.
    if (!std::isfinite(re + im + d)) [[unlikely]]
        return divideSpecial(a, b);
    return {static_cast<float>(re), static_cast<float>(im)};
}

comp_cComplex<double> comp_Divide(const comp_cComplex<double>& a,
                                  const comp_cComplex<double>& b) noexcept {
    if (!isFinite(a) || !isFinite(b) || b == comp_cComplex<double>())
        return divideSpecial(a, b);
    using limits = std::numeric_limits<double>;
    constexpr double large = limits::max() / 2;
    constexpr double small = 2 * limits::min() / limits::epsilon();
    constexpr double lift = 0x1p106;

    comp_cComplex<double> x = a, y = b;
    double scale = 1;
    const double xMax = std::max(std::fabs(x.re), std::fabs(x.im));
    const double yMax = std::max(std::fabs(y.re), std::fabs(y.im));
    if (xMax >= large) {
        x = {x.re / 2, x.im / 2};
        scale *= 2;
    } else if (xMax <= small) {
        x = {x.re * lift, x.im * lift};
        scale /= lift;
    }
    if (yMax >= large) {
        y = {y.re / 2, y.im / 2};
        scale /= 2;
    } else if (yMax <= small) {
        y = {y.re * lift, y.im * lift};
        scale *= lift;
    }

    comp_cComplex<double> quotient;
    if (std::fabs(y.im) <= std::fabs(y.re)) {
        const double r = y.im / y.re;
        const double d = y.re + y.im * r;
        quotient = {smithPart(x.re, x.im, r, y.im, y.re, d),
                    smithPart(x.im, -x.re, r, y.im, y.re, d)};
    } else {
        const double r = y.re / y.im;
        const double d = y.re * r + y.im;
        quotient = {smithPart(x.im, x.re, r, y.re, y.im, d),
                    -smithPart(x.re, -x.im, r, y.re, y.im, d)};
    }
    return {quotient.re * scale, quotient.im * scale};
}

namespace {

template<class T>
std::ostream& print(std::ostream& stream, const comp_cComplex<T>& z) {
    return stream << '(' << z.re << ',' << z.im << ')';
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const comp_cComplex<float>& z) {
    return print(stream, z);
}
std::ostream& operator<<(std::ostream& stream, const comp_cComplex<double>& z) {
    return print(stream, z);
}
