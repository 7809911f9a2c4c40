#pragma once

/// @file
/// Complex values of single and double precision.

#include <cmath>
#include <complex>
#include <iosfwd>
#include <type_traits>

#include "dataprocessing/dataprocessing_export.h"

/// A complex value: two `T` (float or double), real part first, nothing else.
///
/// Sum, difference and product are the plain component formulas, rounded after every operation;
/// the product is (a.re b.re - a.im b.im, a.re b.im + a.im b.re). The quotient does not overflow
/// or underflow on the way to a representable result. The functions give the principal values of
/// the C++ standard library's complex functions in the precision of `T`.
template<class T>
struct comp_cComplex {
    T re = 0; ///< real part
    T im = 0; ///< imaginary part

    /// Zero.
    constexpr comp_cComplex() noexcept = default;
    /// A value from its parts.
    constexpr comp_cComplex(T real, T imaginary = 0) noexcept : re(real), im(imaginary) {}
    /// A value from the standard library's type.
    constexpr comp_cComplex(const std::complex<T>& z) noexcept : re(z.real()), im(z.imag()) {}

    /// The value in the standard library's type.
    constexpr operator std::complex<T>() const noexcept { return {re, im}; }

    /// The real part.
    constexpr T Real() const noexcept { return re; }
    /// The imaginary part.
    constexpr T Imag() const noexcept { return im; }

    /// True when both parts are equal; a NaN part equals nothing.
    friend constexpr bool operator==(const comp_cComplex& a, const comp_cComplex& b) noexcept {
        return a.re == b.re && a.im == b.im;
    }
    /// Component-wise sum.
    friend constexpr comp_cComplex operator+(const comp_cComplex& a,
                                             const comp_cComplex& b) noexcept {
        return {a.re + b.re, a.im + b.im};
    }
    /// Component-wise difference.
    friend constexpr comp_cComplex operator-(const comp_cComplex& a,
                                             const comp_cComplex& b) noexcept {
        return {a.re - b.re, a.im - b.im};
    }
    /// Both parts negated.
    friend constexpr comp_cComplex operator-(const comp_cComplex& a) noexcept {
        return {-a.re, -a.im};
    }
    /// Product by the plain formula: infinite and NaN parts follow from it, without repair.
    friend constexpr comp_cComplex operator*(const comp_cComplex& a,
                                             const comp_cComplex& b) noexcept {
        return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
    }
    /// Quotient. It is within a few epsilon of the magnitude of the exact one wherever that is
    /// representable. A NaN part of either gives NaN. Otherwise, where a value counts as infinite
    /// when one of its parts is: finite over infinite gives zero, infinite over finite or zero
    /// gives infinite (the other part may be NaN), infinite over infinite gives NaN; so does zero
    /// over zero, and other finite values over zero are infinite.
    friend comp_cComplex operator/(const comp_cComplex& a, const comp_cComplex& b) noexcept {
        return comp_Divide(a, b);
    }
};

static_assert(sizeof(comp_cComplex<float>) == 8 && sizeof(comp_cComplex<double>) == 16);

/// Quotient of two single-precision values, computed in double and rounded once per part.
/// Source: the textbook formula, which cannot overflow in the wider format.
DATAPROCESSING_EXPORT comp_cComplex<float> comp_Divide(const comp_cComplex<float>& a,
                                                       const comp_cComplex<float>& b) noexcept;
/// Quotient of two double-precision values: both are scaled by powers of two, then divided by
/// Smith's method. Source: R. L. Smith, Algorithm 116, CACM 5 (1962), with the scaling and the
/// guard against a vanishing ratio of M. Baudin and R. L. Smith, arXiv:1210.4539 (2012).
DATAPROCESSING_EXPORT comp_cComplex<double> comp_Divide(const comp_cComplex<double>& a,
                                                        const comp_cComplex<double>& b) noexcept;

/// Modulus, sqrt(re^2 + im^2) without overflow on the way.
template<class T>
T abs(const comp_cComplex<T>& z) {
    return std::abs(std::complex<T>(z));
}
/// Phase angle atan2(im, re) in [-pi, pi], -pi being that of a negative real part and an imaginary
/// part of -0. It is the C runtime's in double precision, rounded once to `T`.
template<class T>
T arg(const comp_cComplex<T>& z) {
    return static_cast<T>(std::atan2(static_cast<double>(z.im), static_cast<double>(z.re)));
}
/// Squared modulus re^2 + im^2.
template<class T>
constexpr T norm(const comp_cComplex<T>& z) noexcept {
    return z.re * z.re + z.im * z.im;
}
/// The real part.
template<class T>
constexpr T real(const comp_cComplex<T>& z) noexcept {
    return z.re;
}
/// The imaginary part.
template<class T>
constexpr T imag(const comp_cComplex<T>& z) noexcept {
    return z.im;
}
/// Complex conjugate.
template<class T>
constexpr comp_cComplex<T> conj(const comp_cComplex<T>& z) noexcept {
    return {z.re, -z.im};
}
/// Square, z times z by the plain product.
template<class T>
constexpr comp_cComplex<T> sqr(const comp_cComplex<T>& z) noexcept {
    return z * z;
}
/// Principal value of `base` raised to `exponent`.
template<class T>
comp_cComplex<T> pow(const comp_cComplex<T>& base, const comp_cComplex<T>& exponent) {
    return std::pow(std::complex<T>(base), std::complex<T>(exponent));
}
/// Principal arc cosine.
template<class T>
comp_cComplex<T> acos(const comp_cComplex<T>& z) {
    return std::acos(std::complex<T>(z));
}
/// Principal arc sine.
template<class T>
comp_cComplex<T> asin(const comp_cComplex<T>& z) {
    return std::asin(std::complex<T>(z));
}
/// Principal arc tangent.
template<class T>
comp_cComplex<T> atan(const comp_cComplex<T>& z) {
    return std::atan(std::complex<T>(z));
}
/// Cosine.
template<class T>
comp_cComplex<T> cos(const comp_cComplex<T>& z) {
    return std::cos(std::complex<T>(z));
}
/// Hyperbolic cosine.
template<class T>
comp_cComplex<T> cosh(const comp_cComplex<T>& z) {
    return std::cosh(std::complex<T>(z));
}
/// Exponential.
template<class T>
comp_cComplex<T> exp(const comp_cComplex<T>& z) {
    return std::exp(std::complex<T>(z));
}
/// Principal natural logarithm, imaginary part in [-pi, pi].
template<class T>
comp_cComplex<T> log(const comp_cComplex<T>& z) {
    return std::log(std::complex<T>(z));
}
/// Principal decimal logarithm.
template<class T>
comp_cComplex<T> log10(const comp_cComplex<T>& z) {
    return std::log10(std::complex<T>(z));
}
/// Sine.
template<class T>
comp_cComplex<T> sin(const comp_cComplex<T>& z) {
    return std::sin(std::complex<T>(z));
}
/// Hyperbolic sine.
template<class T>
comp_cComplex<T> sinh(const comp_cComplex<T>& z) {
    return std::sinh(std::complex<T>(z));
}
namespace dataprocessing::detail {

/// The principal square root of finite parts. In double neither their squares nor the sum can
/// overflow or vanish, and the squares are exact.
inline comp_cComplex<float> comp_SqrtOfFinite(const comp_cComplex<float>& z) noexcept {
    const double re = static_cast<double>(z.re);
    const double im = static_cast<double>(z.im);
    const double larger = std::sqrt((std::sqrt(re * re + im * im) + std::fabs(re)) * 0.5);
    const double smaller = std::fabs(im) / (larger > 0 ? 2 * larger : 1.0);
    return {static_cast<float>(re < 0 ? smaller : larger),
            static_cast<float>(std::copysign(re < 0 ? larger : smaller, im))};
}

} // namespace dataprocessing::detail

/// Principal square root, real part not negative. In single precision it is computed in double and
/// rounded once per part. Source: the half-angle formulas, which lose nothing to cancellation.
template<class T>
comp_cComplex<T> sqrt(const comp_cComplex<T>& z) {
    if constexpr (std::is_same_v<T, float>)
        if (std::isfinite(z.re) && std::isfinite(z.im))
            return dataprocessing::detail::comp_SqrtOfFinite(z);
    return std::sqrt(std::complex<T>(z));
}
/// Tangent.
template<class T>
comp_cComplex<T> tan(const comp_cComplex<T>& z) {
    return std::tan(std::complex<T>(z));
}
/// Hyperbolic tangent.
template<class T>
comp_cComplex<T> tanh(const comp_cComplex<T>& z) {
    return std::tanh(std::complex<T>(z));
}

/// Prints "(re,im)".
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream, const comp_cComplex<float>& z);
/// Prints "(re,im)".
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream,
                                               const comp_cComplex<double>& z);
