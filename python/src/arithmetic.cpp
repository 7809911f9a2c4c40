#include "arithmetic.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <type_traits>

#include "alignment.h"
#include "axis.h"
#include "gil.h"

namespace dataprocessing::python {

namespace {

constexpr double exactInSingle = 0x1p24;

double nanosecondsOf(bnry_eAritBinaryOperation operation) noexcept {
    return operation == bnry_Power ? 20 : 1;
}

/// 32-bit unsigned integers are doubles wherever the library's result would be a signed integer.
dtyp_cDataType widened(dtyp_cDataType type, dtyp_cDataType other,
                       bnry_eAritBinaryOperation operation) {
    return type == dtyp_UInt32 && bnry_ResultType(type, other, operation) == dtyp_Int32
               ? dtyp_Double
               : type;
}

template<class Values>
Values as(const Values& values, dtyp_cDataType type) {
    return conv_Convert(values, type);
}

template<class A>
A uninitialisedLike(const A& other, dtyp_cDataType type) {
    if constexpr (A::dimensions == 1)
        return like<A>(other, darr_c1DArray(other.Size(0), type, other.values.Cal()), cLabels());
    else
        return like<A>(other, darr_c2DArray(other.Size(1), other.Size(0), type, other.values.Cal()),
                       cLabels());
}

template<class A>
A emptyOf(const A& like, dtyp_cDataType type) {
    A result = like;
    result.values = conv_Convert(like.values, type);
    return result;
}

// ---- Where the library passes a number through single precision, or swaps a difference ----------

bool isSurprising(bnry_eAritBinaryOperation operation, dtyp_cDataType type,
                  const pnum_cNumber& number, bool isFirst) {
    if (operation == bnry_Subtract && isFirst &&
        (type == dtyp_Int16 || type == dtyp_Int32 || type == dtyp_Float))
        return true;
    return type == dtyp_Int32 && operation <= bnry_Multiply &&
           std::fabs(number.As<double>()) > exactInSingle;
}

/// Integers wrap modulo 2 to their width.
template<class T>
using tWork = std::conditional_t<std::is_integral_v<T>, std::uint32_t, T>;

template<class T, class Operation>
void loop(T number, const T* elements, T* results, int count, Operation operation) {
    using tValue = tWork<T>;
    const auto n = static_cast<tValue>(number);
    for (int i = 0; i < count; ++i)
        results[i] = static_cast<T>(operation(n, static_cast<tValue>(elements[i])));
}

template<class T, class A>
A plain(bnry_eAritBinaryOperation operation, const pnum_cNumber& number, const A& array,
        bool isFirst) {
    if (!(array.values.DataType() == dtyp_Of<T>()))
        return plain<T>(operation, number,
                        like<A>(array, conv_Convert(array.values, dtyp_Of<T>()), array.labels),
                        isFirst);
    A result = uninitialisedLike(array, dtyp_Of<T>());
    const T n = number.As<T>();
    const T* from = array.values.template Elements<T>().data();
    T* to = result.values.template Elements<T>().data();
    const int count = array.Count();
    if (operation == bnry_Add)
        loop(n, from, to, count, [](auto x, auto y) { return x + y; });
    else if (operation == bnry_Multiply)
        loop(n, from, to, count, [](auto x, auto y) { return x * y; });
    else if (isFirst)
        loop(n, from, to, count, [](auto x, auto y) { return x - y; });
    else
        loop(n, from, to, count, [](auto x, auto y) { return y - x; });
    return result;
}

template<class A>
A plainOfType(bnry_eAritBinaryOperation operation, dtyp_cDataType type, const pnum_cNumber& number,
              const A& array, bool isFirst) {
    if (type == dtyp_Int16)
        return plain<short>(operation, number, array, isFirst);
    if (type == dtyp_Int32)
        return plain<int>(operation, number, array, isFirst);
    return plain<float>(operation, number, array, isFirst);
}

/// The labels of what an array and a plain number make: a sum and a multiple keep name and unit.
cLabels withNumber(const cLabels& labels, bnry_eAritBinaryOperation operation, bool numberIsFirst) {
    const bool isInverse = operation == bnry_Divide && numberIsFirst;
    return operation == bnry_Power || isInverse ? cLabels() : labels;
}

template<class A>
A withNumber(bnry_eAritBinaryOperation operation, const A& array, const pnum_cNumber& number,
             bool numberIsFirst) {
    const dtyp_cDataType ofArray = widened(array.values.DataType(), number.DataType(), operation);
    const dtyp_cDataType ofNumber = widened(number.DataType(), array.values.DataType(), operation);
    const dtyp_cDataType type = numberIsFirst ? bnry_ResultType(ofNumber, ofArray, operation)
                                              : bnry_ResultType(ofArray, ofNumber, operation);
    const cWithoutGil released(array.Count(), nanosecondsOf(operation));
    A result = [&] {
        if (array.Count() == 0)
            return emptyOf(array, type);
        const pnum_cNumber n = ofNumber == number.DataType() ? number : as(number, ofNumber);
        if (isSurprising(operation, type, n, numberIsFirst))
            return plainOfType(operation, type, n, array, numberIsFirst);
        const auto operate = [&](const auto& values) {
            return numberIsFirst ? bnry_Operate(operation, n, values)
                                 : bnry_Operate(operation, values, n);
        };
        return like<A>(array,
                       ofArray == array.values.DataType() ? operate(array.values)
                                                          : operate(as(array.values, ofArray)),
                       cLabels());
    }();
    result.labels = withNumber(array.labels, operation, numberIsFirst);
    return result;
}

template<class A>
cLabels labelsOf(const A& a, const A& b, bnry_eAritBinaryOperation operation) {
    return operation <= bnry_Subtract ? mergedValues(a.labels, b.labels) : cLabels();
}

template<class A, class B>
void mergeAxes(A& result, const B& a, const B& b) {
    for (int axis = 0; axis < A::dimensions; ++axis)
        result.axes[axis] = mergedAxis(a.axes[axis], b.axes[axis]);
}

// ---- Elements that lie in an array of numpy's ---------------------------------------------------

template<class T, class Operation>
void combine(const T* first, const T* second, T* results, int count, Operation operation) {
    for (int i = 0; i < count; ++i)
        results[i] = operation(first[i], second[i]);
}

template<class T>
void combineBy(bnry_eAritBinaryOperation operation, const T* first, const T* second, T* results,
               int count) {
    if (operation == bnry_Add)
        combine(first, second, results, count, std::plus());
    else if (operation == bnry_Subtract)
        combine(first, second, results, count, std::minus());
    else if (operation == bnry_Multiply)
        combine(first, second, results, count, std::multiplies());
    else
        combine(first, second, results, count, std::divides());
}

template<class T>
bool hasZero(const T* elements, int count) {
    return std::find(elements, elements + count, T(0)) != elements + count;
}

template<class T, class A>
std::optional<A> inPlace(bnry_eAritBinaryOperation operation, const A& array, const T* elements,
                         eOrder order) {
    const int count = array.Count();
    const T* own = array.values.template Elements<T>().data();
    const T* first = order == ArrayFirst ? own : elements;
    const T* second = order == ArrayFirst ? elements : own;
    const cWithoutGil released(2LL * count, nanosecondsOf(operation));
    if (operation == bnry_Divide && hasZero(second, count))
        return std::nullopt;
    A result = uninitialisedLike(array, dtyp_Of<T>());
    combineBy(operation, first, second, result.values.template Elements<T>().data(), count);
    return result;
}

// ---- Comparisons -------------------------------------------------------------------------------

bool isSigned(dtyp_cDataType type) { return type.Code() >= dtyp_Int8 && type.Code() <= dtyp_Int32; }
bool isInteger(dtyp_cDataType type) { return type.Code() <= dtyp_Int32; }
bool isSingle(dtyp_cDataType type) { return type == dtyp_Float || type == dtyp_ComplexFloat; }

/// The calibration of the grid that two arrays are brought to: what a sum of theirs would have.
template<class A>
auto commonCal(const A& a, const A& b) {
    if (haveSameGrid(a, b))
        return a.values.Cal();
    return bnry_Operate(bnry_Add, conv_Convert(a.values, dtyp_UInt8),
                        conv_Convert(b.values, dtyp_UInt8))
        .Cal();
}

template<class A, class Mask>
Mask emptyMask(const A& like) {
    Mask mask;
    if constexpr (A::dimensions == 1)
        mask.values = barr_c1DBoolArray(like.Size(0));
    else
        mask.values = barr_c2DBoolArray(like.Size(1), like.Size(0));
    mask.values.SetCal(like.values.Cal());
    return mask;
}

} // namespace

dtyp_cDataType commonType(dtyp_cDataType a, dtyp_cDataType b) {
    if (a == b)
        return a;
    if (isInteger(a) && isInteger(b)) {
        if (isSigned(a) == isSigned(b))
            return dtyp_Max(a, b);
        const dtyp_cDataType without = isSigned(a) ? b : a;
        const dtyp_cDataType with = isSigned(a) ? a : b;
        if (without == dtyp_UInt32)
            return dtyp_Double;
        if (with.SizeOf() > without.SizeOf())
            return with;
        return without == dtyp_UInt8 ? dtyp_Int16 : dtyp_Int32;
    }
    const bool wide = (isInteger(a) && a.SizeOf() == 4) || (isInteger(b) && b.SizeOf() == 4) ||
                      a == dtyp_Double || b == dtyp_Double || a == dtyp_ComplexDouble ||
                      b == dtyp_ComplexDouble;
    const bool isComplex = a.IsComplex() || b.IsComplex();
    if (!wide && (isSingle(a) || isSingle(b)))
        return isComplex ? dtyp_ComplexFloat : dtyp_Float;
    return isComplex ? dtyp_ComplexDouble : dtyp_Double;
}

template<class A>
A exactlyFloating(const A& a) {
    const dtyp_cDataType type = a.values.DataType();
    if (type == dtyp_Int32 || type == dtyp_UInt32)
        return like<A>(a, conv_Convert(a.values, dtyp_Double), a.labels);
    return a;
}

template<class A>
A arithmetic(bnry_eAritBinaryOperation operation, const pnum_cNumber& a, const A& b) {
    return withNumber(operation, b, a, true);
}

template<class A>
A arithmetic(bnry_eAritBinaryOperation operation, const A& a, const pnum_cNumber& b) {
    return withNumber(operation, a, b, false);
}

template<class A>
A arithmetic(bnry_eAritBinaryOperation operation, const A& a, const A& b) {
    checkAxes(a, b);
    A result;
    result.labels = labelsOf(a, b, operation);
    mergeAxes(result, a, b);
    const dtyp_cDataType typeA = a.values.DataType();
    const dtyp_cDataType typeB = b.values.DataType();
    const dtyp_cDataType wideA = widened(typeA, typeB, operation);
    const dtyp_cDataType wideB = widened(typeB, typeA, operation);
    const cWithoutGil released(static_cast<long long>(a.Count()) + b.Count(),
                               nanosecondsOf(operation));
    if (a.Count() == 0 && b.Count() == 0)
        result.values = conv_Convert(a.values, bnry_ResultType(wideA, wideB, operation));
    else if (wideA == typeA && wideB == typeB)
        result.values = bnry_Operate(operation, a.values, b.values);
    else
        result.values = bnry_Operate(operation, as(a.values, wideA), as(b.values, wideB));
    return result;
}

template<class A>
std::optional<A> arithmeticInPlace(bnry_eAritBinaryOperation operation, const A& array,
                                   const void* elements, eOrder order) {
    if (operation == bnry_Power)
        return std::nullopt;
    std::optional<A> result =
        array.values.DataType() == dtyp_Float
            ? inPlace(operation, array, static_cast<const float*>(elements), order)
            : inPlace(operation, array, static_cast<const double*>(elements), order);
    if (result)
        result->labels = operation <= bnry_Subtract ? mergedValues(array.labels, {}) : cLabels();
    return result;
}

namespace {

void requireOrder(bnry_eCompBinaryOperation operation, dtyp_cDataType type) {
    if (operation != bnry_Equal && operation != bnry_NotEqual && type.IsComplex())
        throw pybind11::type_error("complex elements have no order; take abs(a) or a.real first");
}

} // namespace

template<class A, class Mask>
Mask comparison(bnry_eCompBinaryOperation operation, const A& a, const pnum_cNumber& b) {
    const dtyp_cDataType type = commonType(a.values.DataType(), b.DataType());
    requireOrder(operation, type);
    Mask mask = emptyMask<A, Mask>(a);
    for (int axis = 0; axis < A::dimensions; ++axis)
        mask.axes[axis] = a.axes[axis];
    if (a.Count() == 0)
        return mask;
    const cWithoutGil released(a.Count());
    const auto cal = a.values.Cal();
    const pnum_cNumber number = as(b, type);
    mask.values = a.values.DataType() == type ? bnry_Operate(operation, a.values, number)
                                              : bnry_Operate(operation, as(a.values, type), number);
    mask.values.SetCal(cal);
    return mask;
}

template<class A, class Mask>
Mask comparison(bnry_eCompBinaryOperation operation, const A& a, const A& b) {
    checkAxes(a, b);
    mergedValues(a.labels, b.labels);
    const dtyp_cDataType type = commonType(a.values.DataType(), b.values.DataType());
    requireOrder(operation, type);
    Mask mask = emptyMask<A, Mask>(a);
    mergeAxes(mask, a, b);
    if (a.Count() == 0 && b.Count() == 0)
        return mask;
    const cWithoutGil released(static_cast<long long>(a.Count()) + b.Count());
    const auto cal = commonCal(a, b);
    const bool asTheyAre = a.values.DataType() == type && b.values.DataType() == type;
    mask.values = asTheyAre ? bnry_Operate(operation, a.values, b.values)
                            : bnry_Operate(operation, as(a.values, type), as(b.values, type));
    mask.values.SetCal(cal);
    return mask;
}

template sArray1D exactlyFloating(const sArray1D&);
template sArray2D exactlyFloating(const sArray2D&);
template sArray1D arithmetic(bnry_eAritBinaryOperation, const pnum_cNumber&, const sArray1D&);
template sArray2D arithmetic(bnry_eAritBinaryOperation, const pnum_cNumber&, const sArray2D&);
template sArray1D arithmetic(bnry_eAritBinaryOperation, const sArray1D&, const pnum_cNumber&);
template sArray2D arithmetic(bnry_eAritBinaryOperation, const sArray2D&, const pnum_cNumber&);
template sArray1D arithmetic(bnry_eAritBinaryOperation, const sArray1D&, const sArray1D&);
template sArray2D arithmetic(bnry_eAritBinaryOperation, const sArray2D&, const sArray2D&);
template std::optional<sArray1D> arithmeticInPlace(bnry_eAritBinaryOperation, const sArray1D&,
                                                   const void*, eOrder);
template std::optional<sArray2D> arithmeticInPlace(bnry_eAritBinaryOperation, const sArray2D&,
                                                   const void*, eOrder);
template sMask1D comparison<sArray1D, sMask1D>(bnry_eCompBinaryOperation, const sArray1D&,
                                               const pnum_cNumber&);
template sMask2D comparison<sArray2D, sMask2D>(bnry_eCompBinaryOperation, const sArray2D&,
                                               const pnum_cNumber&);
template sMask1D comparison<sArray1D, sMask1D>(bnry_eCompBinaryOperation, const sArray1D&,
                                               const sArray1D&);
template sMask2D comparison<sArray2D, sMask2D>(bnry_eCompBinaryOperation, const sArray2D&,
                                               const sArray2D&);

} // namespace dataprocessing::python
