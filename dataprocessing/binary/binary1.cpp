#include <algorithm>
#include <new>
#include <utility>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/binary/binary1_compute.h"
#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/kernels/arit.h"
#include "dataprocessing/operand/pair.h"
#include "dataprocessing/operand/scan_source.h"

using namespace dataprocessing::detail;

namespace {

using eOperation = bnry_eAritBinaryOperation;

/// The line that refuses a zero divisor, by what is divided.
constexpr int divideLine(const pnum_cNumber&, const pnum_cNumber&) { return 436; }
template<class Array>
constexpr int divideLine(const pnum_cNumber&, const Array&) {
    return 475;
}
template<class Array>
constexpr int divideLine(const Array&, const pnum_cNumber&) {
    return 514;
}
template<class Array>
constexpr int divideLine(const Array&, const Array&) {
    return 553;
}

template<class A, class B>
void refuseZero(bool isZero, const A& a, const B& b) {
    if (isZero)
        throw expt_cUserException("binary1", divideLine(a, b), expt_DivideByZero);
}

/// The type that both operands are brought to, which is that of the result.
dtyp_cDataType commonType(dtyp_cDataType a, dtyp_cDataType b, eOperation operation) {
    if (operation < bnry_Add || operation > bnry_Power)
        throw expt_cProgramException("binary1", 1, "Unknown operation.");
    const dtyp_cDataType type = pair_Type(a, b, bnry_ResultType(a, b, operation));
    // Only two operands of one unknown type come here with it: a scan of the divisor refuses it.
    if (operation == bnry_Divide && !type.IsKnown())
        scan_LoopFor(type, scan_Zero);
    return type;
}

template<class A, class B>
auto operate(eOperation operation, const A& a, const B& b) {
    using Result = std::decay_t<decltype(pair_Model(a, b))>;
    if (pair_IsEmpty(a, b))
        return Result(pair_Model(a, b));
    const dtyp_cDataType type = commonType(a.DataType(), b.DataType(), operation);
    pair_cOperands<A, B> pair(a, b, type);
    const auto refuseZeroDivisor = [&](std::size_t count) {
        refuseZero(scan_Source(pair.Second(), type, scan_Zero, count), a, b);
    };

    // The division tests its divisor on the way, unless that has to be aligned: what alignment cuts
    // off counts, and the zeros that it adds do not.
    const bool isTesting = operation == bnry_Divide && pair.IsAligned();
    if (operation == bnry_Divide && !isTesting)
        refuseZeroDivisor(pair_Count(pair_Axes(b)));
    pair.Align(pair_NothingIsFine);
    const auto unset = [&] {
        try {
            return pair.Unset();
        } catch (const std::bad_alloc&) {
            // A zero is refused first, whether or not there is memory for the quotients.
            if (isTesting)
                refuseZeroDivisor(pair.Second().IsArray() ? pair.Count() : 1);
            throw;
        }
    };
    Result result = unset();
    const int code = isTesting ? static_cast<int>(arit_DivideTesting) : operation;
    const bool isDone =
        bnry_Compute(code, type, pair.First(), pair.Second(), result.Data(), pair.Count());
    refuseZero(!isDone, a, b);
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
