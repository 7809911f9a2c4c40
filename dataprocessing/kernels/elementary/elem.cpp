#include "dataprocessing/kernels/elementary/elem.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

#include "dataprocessing/kernels/elementary/elem_tables.h"
#include "dataprocessing/platform/level.h"

#if DATAPROCESSING_LEVELS
    #include <immintrin.h>
#endif

#define LEVEL_KERNELS "dataprocessing/kernels/elementary/elem_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

elem_Runtime elem_RuntimeOf(elem_eFunction function) noexcept {
    static constexpr elem_Runtime runtimes[] = {std::acos, std::asin, std::atan, std::cos,
                                                std::cosh, std::exp,  std::log,  std::log10,
                                                std::sin,  std::sinh, std::tan,  std::tanh};
    return runtimes[function];
}
elem_PairRuntime elem_RuntimeOf(elem_ePairFunction function) noexcept {
    if (function == elem_Atan2)
        return std::atan2;
    return std::pow;
}

namespace {

template<class T>
void runtimeLoop(const T* x, T* result, std::size_t count, elem_Runtime runtime) {
    for (std::size_t i = 0; i < count; ++i)
        result[i] = static_cast<T>(runtime(static_cast<double>(x[i])));
}
template<class T>
void runtimePairLoop(const T* a, const T* b, T* result, std::size_t count,
                     elem_PairRuntime runtime) {
    for (std::size_t i = 0; i < count; ++i)
        result[i] = static_cast<T>(runtime(static_cast<double>(a[i]), static_cast<double>(b[i])));
}

} // namespace

template<class T>
elem_Loop<T> elem_LoopOf(elem_eFunction function) noexcept {
    const elem_Loop<T> loop = LEVEL_SELECT(elem_Find<T>)(function);
    return loop != nullptr ? loop : &runtimeLoop<T>;
}
template<class T>
elem_PairLoop<T> elem_LoopOf(elem_ePairFunction function) noexcept {
    const elem_PairLoop<T> loop = LEVEL_SELECT(elem_FindPair<T>)(function);
    return loop != nullptr ? loop : &runtimePairLoop<T>;
}

namespace {

/// Fewer elements are faster one by one.
constexpr std::size_t worthVectors = 4;

} // namespace

template<class T>
void elem_Evaluate(elem_eFunction function, const T* x, T* result, std::size_t count) {
    const elem_Loop<T> loop = count < worthVectors ? &runtimeLoop<T> : elem_LoopOf<T>(function);
    loop(x, result, count, elem_RuntimeOf(function));
}

template<class T>
void elem_Evaluate(elem_ePairFunction function, elem_sArgument<T> a, elem_sArgument<T> b, T* result,
                   std::size_t count) {
    const elem_PairLoop<T> loop =
        count < worthVectors ? &runtimePairLoop<T> : elem_LoopOf<T>(function);
    if (a.isArray && b.isArray)
        return loop(a.elements, b.elements, result, count, elem_RuntimeOf(function));

    constexpr std::size_t buffered = 512;
    T numbers[buffered];
    std::fill_n(numbers, std::min(count, buffered), a.isArray ? *b.elements : *a.elements);
    for (std::size_t first = 0; first < count; first += buffered)
        loop(a.isArray ? a.elements + first : numbers, b.isArray ? b.elements + first : numbers,
             result + first, std::min(count - first, buffered), elem_RuntimeOf(function));
}

template<class T, class Part>
void elem_Phases(const comp_cComplex<Part>* z, T* phases, std::size_t count) {
    constexpr std::size_t buffered = 512;
    T re[buffered];
    T im[buffered];
    for (std::size_t first = 0; first < count; first += buffered) {
        const std::size_t n = std::min(count - first, buffered);
        for (std::size_t i = 0; i < n; ++i) {
            re[i] = z[first + i].re;
            im[i] = z[first + i].im;
        }
        elem_Evaluate<T>(elem_Atan2, {im, true}, {re, true}, phases + first, n);
    }
}

namespace {

/// Stands for the runtime where the caller has something better to ask.
double undecided(double) { return std::numeric_limits<double>::quiet_NaN(); }

/// Whether e^z is the plain product of these factors, none of which is a NaN.
bool isProduct(const comp_cComplex<double>& z, double exp, double cos, double sin) {
    constexpr double unscaled = 700; // e^re and the products are far from overflow
    return std::fabs(z.re) < unscaled && std::fabs(z.im) >= std::numeric_limits<double>::min() &&
           !std::isnan(exp + cos + sin);
}

} // namespace

void elem_Exponentials(const comp_cComplex<double>* z, comp_cComplex<double>* result,
                       std::size_t count) {
    const elem_Loop<double> exps = elem_LoopOf<double>(elem_Exp);
    if (count < worthVectors || exps == &runtimeLoop<double>) {
        for (std::size_t i = 0; i < count; ++i)
            result[i] = exp(z[i]);
        return;
    }
    const elem_Loop<double> cosines = elem_LoopOf<double>(elem_Cos);
    const elem_Loop<double> sines = elem_LoopOf<double>(elem_Sin);
    constexpr std::size_t buffered = 256;
    double re[buffered], im[buffered], size[buffered], cos[buffered], sin[buffered];
    for (std::size_t first = 0; first < count; first += buffered) {
        const std::size_t n = std::min(count - first, buffered);
        for (std::size_t i = 0; i < n; ++i) {
            re[i] = z[first + i].re;
            im[i] = z[first + i].im;
        }
        exps(re, size, n, undecided);
        cosines(im, cos, n, undecided);
        sines(im, sin, n, undecided);
        for (std::size_t i = 0; i < n; ++i)
            result[first + i] = isProduct(z[first + i], size[i], cos[i], sin[i])
                                    ? comp_cComplex<double>(size[i] * cos[i], size[i] * sin[i])
                                    : exp(z[first + i]);
    }
}

template elem_Loop<float> elem_LoopOf(elem_eFunction) noexcept;
template elem_Loop<double> elem_LoopOf(elem_eFunction) noexcept;
template elem_PairLoop<float> elem_LoopOf(elem_ePairFunction) noexcept;
template elem_PairLoop<double> elem_LoopOf(elem_ePairFunction) noexcept;
template void elem_Evaluate(elem_eFunction, const float*, float*, std::size_t);
template void elem_Evaluate(elem_eFunction, const double*, double*, std::size_t);
template void elem_Evaluate(elem_ePairFunction, elem_sArgument<float>, elem_sArgument<float>,
                            float*, std::size_t);
template void elem_Evaluate(elem_ePairFunction, elem_sArgument<double>, elem_sArgument<double>,
                            double*, std::size_t);
template void elem_Phases(const comp_cComplex<float>*, float*, std::size_t);
template void elem_Phases(const comp_cComplex<float>*, double*, std::size_t);
template void elem_Phases(const comp_cComplex<double>*, double*, std::size_t);

} // namespace dataprocessing::detail
