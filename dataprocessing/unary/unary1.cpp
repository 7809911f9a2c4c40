#include <cmath>
#include <optional>

#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/kernels/elementary/elem.h"
#include "dataprocessing/operand/blocks.h"
#include "dataprocessing/operand/scan_source.h"
#include "dataprocessing/unary/unry.h"
#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/view_make.h"

#define LEVEL_KERNELS "dataprocessing/unary/unary1_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

using eOperation = unry_eMathUnaryOperation;

/// What the kinds of operand differ in: the types they are widened to, and how a result is made.
struct sWidening {
    dtyp_cDataType toFloating;
    dtyp_cDataType toComplex;
};
constexpr sWidening widening(const pnum_cNumber&) {
    return {pnum_cNumber::tValueNumber, pnum_cNumber::tComplexNumber};
}
constexpr sWidening widening(const darr_c1DArray&) {
    return {parr_c1DNumberArray::t1DValueArray, parr_c1DNumberArray::t1DComplexArray};
}
constexpr sWidening widening(const darr_c2DArray&) {
    return {parr_c2DNumberArray::t2DValueArray, parr_c2DNumberArray::t2DComplexArray};
}

std::size_t countOf(const pnum_cNumber&) { return 1; }
std::size_t countOf(const parr_cNumberArray& array) {
    return static_cast<std::size_t>(array.Count());
}

pnum_cNumber makeResult(const pnum_cNumber&, dtyp_cDataType type) { return pnum_cNumber(type); }
template<class Array>
Array makeResult(const Array& operand, dtyp_cDataType type) {
    return view_Shaped(operand, type, view_X(operand), view_Y(operand));
}

/// Refuses what has no result at all.
void checkDomain(eOperation operation, const blocks_cSource& operand, dtyp_cDataType type,
                 std::size_t count) {
    if (operation != unry_Acos && operation != unry_Asin)
        return;
    if (scan_Source(operand, type, scan_AbsLargerThanUnity, count))
        throw expt_cUserException("unary1", operation == unry_Acos ? 264 : 268, expt_DomainError);
}

/// What an element must not be lest the result leaves the reals; none for most operations.
std::optional<scan_eKind> leavesReals(eOperation operation) {
    switch (operation) {
    case unry_Log:
    case unry_Log10:
        return scan_ZeroOrNegative;
    case unry_Sqrt:
        return scan_Negative;
    default:
        return std::nullopt;
    }
}

/// The type of the result: the parts of complex values are real.
dtyp_cDataType resultType(eOperation operation, dtyp_cDataType computed) {
    const bool isPart = operation >= unry_Real && operation <= unry_Arg;
    if (!isPart || computed.IsReal())
        return computed;
    return computed == dtyp_ComplexFloat ? dtyp_Float : dtyp_Double;
}

/// Computes the elements of `result` from those of `operand`, which are of type `working`, by way
/// of the type `computed`. Stops and answers false when an element of the operand is `excluded`.
template<class Value>
bool compute(eOperation operation, const blocks_cSource& operand, dtyp_cDataType working,
             dtyp_cDataType computed, Value& result, std::optional<scan_eKind> excluded) {
    const dtyp_cDataType wanted = result.DataType();
    const bool widens = working != computed;
    const bool narrows = computed != wanted;
    const level_baseline::unry_Kernel kernel = LEVEL_SELECT(unry_Find)(operation, computed);
    const scan_Loop isExcluded = excluded ? scan_LoopFor(working, *excluded) : nullptr;

    constexpr std::size_t converted = 512;
    alignas(64) unsigned char widened[converted * 16];
    alignas(64) unsigned char values[converted * 16];
    const auto step = [&](void* target, std::size_t count, const void* elements) {
        if (isExcluded != nullptr && isExcluded(elements, count))
            return false;
        if (widens) {
            conv_Elements(elements, working, widened, computed, count, conv_RealPart);
            elements = widened;
        }
        kernel(elements, narrows ? values : target, count);
        if (narrows)
            conv_Elements(values, computed, target, wanted, count, conv_RealPart);
        return true;
    };
    blocks_sRange range{result.Data(), wanted.SizeOf(), 0, countOf(result)};
    if (widens || narrows)
        range.most = converted;
    else if (isExcluded != nullptr)
        range.most = 2048; // what was looked at is still in the cache
    return blocks_Run(range, step, operand);
}

template<class Value>
Value operate(eOperation operation, const Value& operand) {
    if (operation < unry_Plus || operation > unry_Conj)
        throw expt_cProgramException("unary1", 1, "Unknown operation.");
    const dtyp_cDataType working = dtyp_Max(operand.DataType(), widening(operand).toFloating);
    conv_Check(operand.DataType(), working, conv_RealPart);
    if (!working.IsKnown())
        return makeResult(operand, working);

    const blocks_cSource source(operand.Data(), operand.DataType(), working);
    dtyp_cDataType computed = working;
    if (working.IsReal()) {
        checkDomain(operation, source, working, countOf(operand));
        if (const std::optional<scan_eKind> excluded = leavesReals(operation)) {
            Value result = makeResult(operand, working);
            if (compute(operation, source, working, working, result, excluded))
                return result;
            computed = widening(operand).toComplex;
        }
    }
    Value result = makeResult(operand, resultType(operation, computed));
    compute(operation, source, working, computed, result, std::nullopt);
    return result;
}

} // namespace

} // namespace dataprocessing::detail

// clang-format off
pnum_cNumber  unry_Operate(unry_eMathUnaryOperation operation, const pnum_cNumber&  x) { return dataprocessing::detail::operate(operation, x); }
darr_c1DArray unry_Operate(unry_eMathUnaryOperation operation, const darr_c1DArray& x) { return dataprocessing::detail::operate(operation, x); }
darr_c2DArray unry_Operate(unry_eMathUnaryOperation operation, const darr_c2DArray& x) { return dataprocessing::detail::operate(operation, x); }

pnum_cNumber  operator+(const pnum_cNumber&  x) { return unry_Operate(unry_Plus, x); }
darr_c1DArray operator+(const darr_c1DArray& x) { return unry_Operate(unry_Plus, x); }
darr_c2DArray operator+(const darr_c2DArray& x) { return unry_Operate(unry_Plus, x); }

pnum_cNumber  operator-(const pnum_cNumber&  x) { return unry_Operate(unry_Negate, x); }
darr_c1DArray operator-(const darr_c1DArray& x) { return unry_Operate(unry_Negate, x); }
darr_c2DArray operator-(const darr_c2DArray& x) { return unry_Operate(unry_Negate, x); }

pnum_cNumber  abs(const pnum_cNumber&  x) { return unry_Operate(unry_Abs, x); }
darr_c1DArray abs(const darr_c1DArray& x) { return unry_Operate(unry_Abs, x); }
darr_c2DArray abs(const darr_c2DArray& x) { return unry_Operate(unry_Abs, x); }

pnum_cNumber  acos(const pnum_cNumber&  x) { return unry_Operate(unry_Acos, x); }
darr_c1DArray acos(const darr_c1DArray& x) { return unry_Operate(unry_Acos, x); }
darr_c2DArray acos(const darr_c2DArray& x) { return unry_Operate(unry_Acos, x); }

pnum_cNumber  asin(const pnum_cNumber&  x) { return unry_Operate(unry_Asin, x); }
darr_c1DArray asin(const darr_c1DArray& x) { return unry_Operate(unry_Asin, x); }
darr_c2DArray asin(const darr_c2DArray& x) { return unry_Operate(unry_Asin, x); }

pnum_cNumber  atan(const pnum_cNumber&  x) { return unry_Operate(unry_Atan, x); }
darr_c1DArray atan(const darr_c1DArray& x) { return unry_Operate(unry_Atan, x); }
darr_c2DArray atan(const darr_c2DArray& x) { return unry_Operate(unry_Atan, x); }

pnum_cNumber  cos(const pnum_cNumber&  x) { return unry_Operate(unry_Cos, x); }
darr_c1DArray cos(const darr_c1DArray& x) { return unry_Operate(unry_Cos, x); }
darr_c2DArray cos(const darr_c2DArray& x) { return unry_Operate(unry_Cos, x); }

pnum_cNumber  cosh(const pnum_cNumber&  x) { return unry_Operate(unry_Cosh, x); }
darr_c1DArray cosh(const darr_c1DArray& x) { return unry_Operate(unry_Cosh, x); }
darr_c2DArray cosh(const darr_c2DArray& x) { return unry_Operate(unry_Cosh, x); }

pnum_cNumber  exp(const pnum_cNumber&  x) { return unry_Operate(unry_Exp, x); }
darr_c1DArray exp(const darr_c1DArray& x) { return unry_Operate(unry_Exp, x); }
darr_c2DArray exp(const darr_c2DArray& x) { return unry_Operate(unry_Exp, x); }

pnum_cNumber  log(const pnum_cNumber&  x) { return unry_Operate(unry_Log, x); }
darr_c1DArray log(const darr_c1DArray& x) { return unry_Operate(unry_Log, x); }
darr_c2DArray log(const darr_c2DArray& x) { return unry_Operate(unry_Log, x); }

pnum_cNumber  log10(const pnum_cNumber&  x) { return unry_Operate(unry_Log10, x); }
darr_c1DArray log10(const darr_c1DArray& x) { return unry_Operate(unry_Log10, x); }
darr_c2DArray log10(const darr_c2DArray& x) { return unry_Operate(unry_Log10, x); }

pnum_cNumber  sin(const pnum_cNumber&  x) { return unry_Operate(unry_Sin, x); }
darr_c1DArray sin(const darr_c1DArray& x) { return unry_Operate(unry_Sin, x); }
darr_c2DArray sin(const darr_c2DArray& x) { return unry_Operate(unry_Sin, x); }

pnum_cNumber  sinh(const pnum_cNumber&  x) { return unry_Operate(unry_Sinh, x); }
darr_c1DArray sinh(const darr_c1DArray& x) { return unry_Operate(unry_Sinh, x); }
darr_c2DArray sinh(const darr_c2DArray& x) { return unry_Operate(unry_Sinh, x); }

pnum_cNumber  sqr(const pnum_cNumber&  x) { return unry_Operate(unry_Sqr, x); }
darr_c1DArray sqr(const darr_c1DArray& x) { return unry_Operate(unry_Sqr, x); }
darr_c2DArray sqr(const darr_c2DArray& x) { return unry_Operate(unry_Sqr, x); }

pnum_cNumber  sqrt(const pnum_cNumber&  x) { return unry_Operate(unry_Sqrt, x); }
darr_c1DArray sqrt(const darr_c1DArray& x) { return unry_Operate(unry_Sqrt, x); }
darr_c2DArray sqrt(const darr_c2DArray& x) { return unry_Operate(unry_Sqrt, x); }

pnum_cNumber  tan(const pnum_cNumber&  x) { return unry_Operate(unry_Tan, x); }
darr_c1DArray tan(const darr_c1DArray& x) { return unry_Operate(unry_Tan, x); }
darr_c2DArray tan(const darr_c2DArray& x) { return unry_Operate(unry_Tan, x); }

pnum_cNumber  tanh(const pnum_cNumber&  x) { return unry_Operate(unry_Tanh, x); }
darr_c1DArray tanh(const darr_c1DArray& x) { return unry_Operate(unry_Tanh, x); }
darr_c2DArray tanh(const darr_c2DArray& x) { return unry_Operate(unry_Tanh, x); }

pnum_cNumber  real(const pnum_cNumber&  x) { return unry_Operate(unry_Real, x); }
darr_c1DArray real(const darr_c1DArray& x) { return unry_Operate(unry_Real, x); }
darr_c2DArray real(const darr_c2DArray& x) { return unry_Operate(unry_Real, x); }

pnum_cNumber  imag(const pnum_cNumber&  x) { return unry_Operate(unry_Imag, x); }
darr_c1DArray imag(const darr_c1DArray& x) { return unry_Operate(unry_Imag, x); }
darr_c2DArray imag(const darr_c2DArray& x) { return unry_Operate(unry_Imag, x); }

pnum_cNumber  norm(const pnum_cNumber&  x) { return unry_Operate(unry_Norm, x); }
darr_c1DArray norm(const darr_c1DArray& x) { return unry_Operate(unry_Norm, x); }
darr_c2DArray norm(const darr_c2DArray& x) { return unry_Operate(unry_Norm, x); }

pnum_cNumber  arg(const pnum_cNumber&  x) { return unry_Operate(unry_Arg, x); }
darr_c1DArray arg(const darr_c1DArray& x) { return unry_Operate(unry_Arg, x); }
darr_c2DArray arg(const darr_c2DArray& x) { return unry_Operate(unry_Arg, x); }

pnum_cNumber  conj(const pnum_cNumber&  x) { return unry_Operate(unry_Conj, x); }
darr_c1DArray conj(const darr_c1DArray& x) { return unry_Operate(unry_Conj, x); }
darr_c2DArray conj(const darr_c2DArray& x) { return unry_Operate(unry_Conj, x); }

// clang-format on
