#include <algorithm>
#include <utility>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/binary/binary1_kernels.h"
#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/operand/algn.h"
#include "dataprocessing/unary/scandata.h"
#include "dataprocessing/unary/scandata_kernels.h"
#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/view_make.h"

using namespace dataprocessing::detail;

namespace {

using eOperation = bnry_eAritBinaryOperation;

/// The lines that refuse a zero divisor, by what is divided.
enum eDivideLine {
    NumberByNumber = 436,
    NumberByArray = 475,
    ArrayByNumber = 514,
    ArrayByArray = 553
};

void refuseIf(bool isZero, eDivideLine line) {
    if (isZero)
        throw expt_cUserException("binary1", line, expt_DivideByZero);
}

/// The type that both operands are brought to, which is that of the result.
dtyp_cDataType commonType(dtyp_cDataType a, dtyp_cDataType b, eOperation operation) {
    if (operation < bnry_Add || operation > bnry_Power)
        throw expt_cProgramException("binary1", 1, "Unknown operation.");
    const dtyp_cDataType type = algn_Target(a, b, bnry_ResultType(a, b, operation));
    conv_Check(a, type, conv_RealPart);
    conv_Check(b, type, conv_RealPart);
    // Only two operands of one unknown type come here with it: the conversion has refused the rest.
    if (operation == bnry_Divide && !type.IsKnown())
        scan_Elements({type, scan_Zero, 0}, nullptr);
    return type;
}

/// Runs the kernel into `result`. A division whose divisor is `tested` already is not tested again.
template<class Result>
void compute(eOperation operation, const bnry_cOperand& a, const bnry_cOperand& b, Result& result,
             eDivideLine line, bool tested) {
    const dtyp_cDataType type = result.DataType();
    const std::size_t count = static_cast<std::size_t>(result.Count());
    if (!type.IsKnown())
        return;
    if (operation == bnry_Divide && !tested)
        refuseIf(bnry_DivideTesting(type, a, b, result.Data(), count), line);
    else
        bnry_Compute(operation, type, a, b, result.Data(), count);
}

pnum_cNumber operate(eOperation operation, const pnum_cNumber& a, const pnum_cNumber& b) {
    const dtyp_cDataType type = commonType(a.DataType(), b.DataType(), operation);
    const pnum_cNumber first = conv_Convert(a, type);
    const pnum_cNumber second = conv_Convert(b, type);
    if (operation == bnry_Divide)
        refuseIf(scan_IsZero(second), NumberByNumber);
    pnum_cNumber result(type);
    bnry_RunKernel(first.Data(), second.Data(), result.Data(), {operation, type.Code(), 0, 0, 1});
    return result;
}

template<class Array>
Array operate(eOperation operation, const pnum_cNumber& a, const Array& b) {
    if (b.Count() == 0)
        return b;
    const dtyp_cDataType type = commonType(a.DataType(), b.DataType(), operation);
    const pnum_cNumber first = conv_Convert(a, type);
    const algn_sAxes axes = algn_Axes(b);
    Array result = view_Shaped(b, type, axes.x, axes.y);
    const view_cView second = algn_View(b, type, axes);
    compute(operation, bnry_cOperand(first.Data()), bnry_cOperand(second), result, NumberByArray,
            false);
    return result;
}

template<class Array>
Array operate(eOperation operation, const Array& a, const pnum_cNumber& b) {
    if (a.Count() == 0)
        return a;
    const dtyp_cDataType type = commonType(a.DataType(), b.DataType(), operation);
    const pnum_cNumber second = conv_Convert(b, type);
    if (operation == bnry_Divide)
        refuseIf(scan_IsZero(second), ArrayByNumber);
    const algn_sAxes axes = algn_Axes(a);
    Array result = view_Shaped(a, type, axes.x, axes.y);
    const view_cView first = algn_View(a, type, axes);
    compute(operation, bnry_cOperand(first), bnry_cOperand(second.Data()), result, ArrayByNumber,
            true);
    return result;
}

template<class Array>
Array operate(eOperation operation, const Array& a, const Array& b) {
    if (a.Count() == 0 && b.Count() == 0)
        return a;
    const dtyp_cDataType type = commonType(a.DataType(), b.DataType(), operation);
    algn_sAxes axesA = algn_Axes(a);
    algn_sAxes axesB = algn_Axes(b);
    // A divisor that is not aligned is tested whole and before anything else can fail: what
    // alignment cuts off counts, and the zeros that it adds do not.
    const bool isAligned = algn_IsAligned(axesA, axesB);
    if (operation == bnry_Divide && !isAligned)
        refuseIf(scan_View(algn_View(b, type, axesB), scan_Zero), ArrayByArray);
    if (!isAligned) {
        algn_MatchDelta(axesA, axesB);
        algn_MatchRange(axesA, axesB);
        algn_RequireSameSize(axesA, axesB);
    }
    Array result = view_Shaped(a, type, axesA.x, axesA.y);
    const view_cView first = algn_View(a, type, axesA);
    const view_cView second = algn_View(b, type, axesB);
    compute(operation, bnry_cOperand(first), bnry_cOperand(second), result, ArrayByArray,
            !isAligned);
    return result;
}

/// Assigns `result` to `a` and returns a copy of it, made first: it is what can fail.
template<class Value>
Value assigned(Value& a, Value result) {
    Value copy = result;
    a = std::move(result);
    return copy;
}

} // namespace

dtyp_cDataType bnry_ResultType(dtyp_cDataType first, dtyp_cDataType second,
                               bnry_eAritBinaryOperation operation) noexcept {
    const int low = std::min(first.Code(), second.Code());
    const int high = std::max(first.Code(), second.Code());
    const bool isSum = operation == bnry_Add || operation == bnry_Subtract;
    const bool isProduct = operation == bnry_Multiply;
    const auto has = [&](int code) { return low == code || high == code; };

    if (low >= dtyp_UInt8 && high <= dtyp_Int16 && !has(dtyp_UInt32)) {
        const bool areBytes = !has(dtyp_UInt16) && !has(dtyp_Int16);
        if (isSum)
            return areBytes ? dtyp_Int16 : dtyp_Int32;
        return isProduct && areBytes ? dtyp_Int32 : dtyp_Float;
    }
    if (high >= dtyp_ComplexFloat && low == dtyp_Double)
        return dtyp_ComplexDouble;
    if (high >= dtyp_Float)
        return dtyp_cDataType(high);
    if (low == dtyp_UInt32 && high == dtyp_UInt32 && operation == bnry_Add)
        return dtyp_UInt32;
    return isSum ? dtyp_Int32 : dtyp_Double;
}

// clang-format off

pnum_cNumber  bnry_Operate(bnry_eAritBinaryOperation operation, const pnum_cNumber&  a, const pnum_cNumber&  b) { return operate(operation, a, b); }
darr_c1DArray bnry_Operate(bnry_eAritBinaryOperation operation, const pnum_cNumber&  a, const darr_c1DArray& b) { return operate(operation, a, b); }
darr_c2DArray bnry_Operate(bnry_eAritBinaryOperation operation, const pnum_cNumber&  a, const darr_c2DArray& b) { return operate(operation, a, b); }
darr_c1DArray bnry_Operate(bnry_eAritBinaryOperation operation, const darr_c1DArray& a, const pnum_cNumber&  b) { return operate(operation, a, b); }
darr_c1DArray bnry_Operate(bnry_eAritBinaryOperation operation, const darr_c1DArray& a, const darr_c1DArray& b) { return operate(operation, a, b); }
darr_c2DArray bnry_Operate(bnry_eAritBinaryOperation operation, const darr_c2DArray& a, const pnum_cNumber&  b) { return operate(operation, a, b); }
darr_c2DArray bnry_Operate(bnry_eAritBinaryOperation operation, const darr_c2DArray& a, const darr_c2DArray& b) { return operate(operation, a, b); }

pnum_cNumber  operator+(const pnum_cNumber&  a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Add, a, b); }
darr_c1DArray operator+(const pnum_cNumber&  a, const darr_c1DArray& b) { return bnry_Operate(bnry_Add, a, b); }
darr_c2DArray operator+(const pnum_cNumber&  a, const darr_c2DArray& b) { return bnry_Operate(bnry_Add, a, b); }
darr_c1DArray operator+(const darr_c1DArray& a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Add, a, b); }
darr_c1DArray operator+(const darr_c1DArray& a, const darr_c1DArray& b) { return bnry_Operate(bnry_Add, a, b); }
darr_c2DArray operator+(const darr_c2DArray& a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Add, a, b); }
darr_c2DArray operator+(const darr_c2DArray& a, const darr_c2DArray& b) { return bnry_Operate(bnry_Add, a, b); }

pnum_cNumber  operator-(const pnum_cNumber&  a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Subtract, a, b); }
darr_c1DArray operator-(const pnum_cNumber&  a, const darr_c1DArray& b) { return bnry_Operate(bnry_Subtract, a, b); }
darr_c2DArray operator-(const pnum_cNumber&  a, const darr_c2DArray& b) { return bnry_Operate(bnry_Subtract, a, b); }
darr_c1DArray operator-(const darr_c1DArray& a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Subtract, a, b); }
darr_c1DArray operator-(const darr_c1DArray& a, const darr_c1DArray& b) { return bnry_Operate(bnry_Subtract, a, b); }
darr_c2DArray operator-(const darr_c2DArray& a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Subtract, a, b); }
darr_c2DArray operator-(const darr_c2DArray& a, const darr_c2DArray& b) { return bnry_Operate(bnry_Subtract, a, b); }

pnum_cNumber  operator*(const pnum_cNumber&  a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Multiply, a, b); }
darr_c1DArray operator*(const pnum_cNumber&  a, const darr_c1DArray& b) { return bnry_Operate(bnry_Multiply, a, b); }
darr_c2DArray operator*(const pnum_cNumber&  a, const darr_c2DArray& b) { return bnry_Operate(bnry_Multiply, a, b); }
darr_c1DArray operator*(const darr_c1DArray& a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Multiply, a, b); }
darr_c1DArray operator*(const darr_c1DArray& a, const darr_c1DArray& b) { return bnry_Operate(bnry_Multiply, a, b); }
darr_c2DArray operator*(const darr_c2DArray& a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Multiply, a, b); }
darr_c2DArray operator*(const darr_c2DArray& a, const darr_c2DArray& b) { return bnry_Operate(bnry_Multiply, a, b); }

pnum_cNumber  operator/(const pnum_cNumber&  a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Divide, a, b); }
darr_c1DArray operator/(const pnum_cNumber&  a, const darr_c1DArray& b) { return bnry_Operate(bnry_Divide, a, b); }
darr_c2DArray operator/(const pnum_cNumber&  a, const darr_c2DArray& b) { return bnry_Operate(bnry_Divide, a, b); }
darr_c1DArray operator/(const darr_c1DArray& a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Divide, a, b); }
darr_c1DArray operator/(const darr_c1DArray& a, const darr_c1DArray& b) { return bnry_Operate(bnry_Divide, a, b); }
darr_c2DArray operator/(const darr_c2DArray& a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Divide, a, b); }
darr_c2DArray operator/(const darr_c2DArray& a, const darr_c2DArray& b) { return bnry_Operate(bnry_Divide, a, b); }

pnum_cNumber  pow(const pnum_cNumber&  a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Power, a, b); }
darr_c1DArray pow(const pnum_cNumber&  a, const darr_c1DArray& b) { return bnry_Operate(bnry_Power, a, b); }
darr_c2DArray pow(const pnum_cNumber&  a, const darr_c2DArray& b) { return bnry_Operate(bnry_Power, a, b); }
darr_c1DArray pow(const darr_c1DArray& a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Power, a, b); }
darr_c1DArray pow(const darr_c1DArray& a, const darr_c1DArray& b) { return bnry_Operate(bnry_Power, a, b); }
darr_c2DArray pow(const darr_c2DArray& a, const pnum_cNumber&  b) { return bnry_Operate(bnry_Power, a, b); }
darr_c2DArray pow(const darr_c2DArray& a, const darr_c2DArray& b) { return bnry_Operate(bnry_Power, a, b); }

pnum_cNumber  operator+=(pnum_cNumber&  a, const pnum_cNumber&  b) { return assigned(a, a + b); }
darr_c1DArray operator+=(darr_c1DArray& a, const pnum_cNumber&  b) { return assigned(a, a + b); }
darr_c2DArray operator+=(darr_c2DArray& a, const pnum_cNumber&  b) { return assigned(a, a + b); }
darr_c1DArray operator+=(darr_c1DArray& a, const darr_c1DArray& b) { return assigned(a, a + b); }
darr_c2DArray operator+=(darr_c2DArray& a, const darr_c2DArray& b) { return assigned(a, a + b); }

pnum_cNumber  operator-=(pnum_cNumber&  a, const pnum_cNumber&  b) { return assigned(a, a - b); }
darr_c1DArray operator-=(darr_c1DArray& a, const pnum_cNumber&  b) { return assigned(a, a - b); }
darr_c2DArray operator-=(darr_c2DArray& a, const pnum_cNumber&  b) { return assigned(a, a - b); }
darr_c1DArray operator-=(darr_c1DArray& a, const darr_c1DArray& b) { return assigned(a, a - b); }
darr_c2DArray operator-=(darr_c2DArray& a, const darr_c2DArray& b) { return assigned(a, a - b); }

pnum_cNumber  operator*=(pnum_cNumber&  a, const pnum_cNumber&  b) { return assigned(a, a * b); }
darr_c1DArray operator*=(darr_c1DArray& a, const pnum_cNumber&  b) { return assigned(a, a * b); }
darr_c2DArray operator*=(darr_c2DArray& a, const pnum_cNumber&  b) { return assigned(a, a * b); }
darr_c1DArray operator*=(darr_c1DArray& a, const darr_c1DArray& b) { return assigned(a, a * b); }
darr_c2DArray operator*=(darr_c2DArray& a, const darr_c2DArray& b) { return assigned(a, a * b); }

pnum_cNumber  operator/=(pnum_cNumber&  a, const pnum_cNumber&  b) { return assigned(a, a / b); }
darr_c1DArray operator/=(darr_c1DArray& a, const pnum_cNumber&  b) { return assigned(a, a / b); }
darr_c2DArray operator/=(darr_c2DArray& a, const pnum_cNumber&  b) { return assigned(a, a / b); }
darr_c1DArray operator/=(darr_c1DArray& a, const darr_c1DArray& b) { return assigned(a, a / b); }
darr_c2DArray operator/=(darr_c2DArray& a, const darr_c2DArray& b) { return assigned(a, a / b); }

// clang-format on
