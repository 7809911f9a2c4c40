#pragma once

/// @file
/// The C runtime's functions of many elements at once, at every instruction-set level.
///
/// Results have the bits that a loop over the runtime's double function has, single-precision ones
/// rounded once from it, wherever the runtime is as exact as docs/numerics.md says. Most are
/// computed in vectors, so exactly that their rounding is known; the few whose rounding is not are
/// left to the runtime. A result that is not the runtime's is therefore the correctly rounded one.

#include <cstddef>

#include "dataprocessing/base/comp.h"

namespace dataprocessing::detail {

/// Functions of one number.
enum elem_eFunction : int {
    elem_Acos,
    elem_Asin,
    elem_Atan,
    elem_Cos,
    elem_Cosh,
    elem_Exp,
    elem_Log,
    elem_Log10,
    elem_Sin,
    elem_Sinh,
    elem_Tan,
    elem_Tanh
};
/// Functions of two numbers: the angle of the point (b, a), and a raised to b.
enum elem_ePairFunction : int { elem_Atan2, elem_Pow };

/// The runtime's function.
using elem_Runtime = double (*)(double);
using elem_PairRuntime = double (*)(double, double);

/// A loop over `count` elements, which asks this runtime for those it cannot decide. The result
/// overlaps no argument.
template<class T>
using elem_Loop = void (*)(const T* x, T* result, std::size_t count, elem_Runtime runtime);
template<class T>
using elem_PairLoop = void (*)(const T* a, const T* b, T* result, std::size_t count,
                               elem_PairRuntime runtime);

elem_Runtime elem_RuntimeOf(elem_eFunction function) noexcept;
elem_PairRuntime elem_RuntimeOf(elem_ePairFunction function) noexcept;

/// The current level's loop of a function over elements of type T, float or double.
/// @{
template<class T>
elem_Loop<T> elem_LoopOf(elem_eFunction function) noexcept;
template<class T>
elem_PairLoop<T> elem_LoopOf(elem_ePairFunction function) noexcept;
/// @}

/// result[i] = function(x[i]), T being float or double. The storages do not overlap.
template<class T>
void elem_Evaluate(elem_eFunction function, const T* x, T* result, std::size_t count);

/// An argument of a function of two numbers: an array, or one number for all elements.
template<class T>
struct elem_sArgument {
    const T* elements;
    bool isArray;
};

/// result[i] = function(a[i], b[i]), T being float or double. The result overlaps no argument.
template<class T>
void elem_Evaluate(elem_ePairFunction function, elem_sArgument<T> a, elem_sArgument<T> b, T* result,
                   std::size_t count);

/// phases[i] = atan2(z[i].im, z[i].re), computed in double and rounded once to T, which is float or
/// double and no less precise than the parts.
template<class T, class Part>
void elem_Phases(const comp_cComplex<Part>* z, T* phases, std::size_t count);

/// result[i] = e^z[i], whose parts are e^re cos im and e^re sin im, each product rounded once. The
/// runtime's own where it would scale them or one of the factors is not decided here. The storages
/// do not overlap.
void elem_Exponentials(const comp_cComplex<double>* z, comp_cComplex<double>* result,
                       std::size_t count);

} // namespace dataprocessing::detail
