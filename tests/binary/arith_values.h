#pragma once

// The library's values in the oracle's terms and back, and random operands.

#include <random>
#include <string>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/binary/bnry.h"
#include "tests/binary/arith_oracle.h"
#include "tests/support/refusal.h"

namespace oracle {

pnum_cNumber numberOf(const Value& value);
darr_c1DArray array1DOf(const Value& value);
darr_c2DArray array2DOf(const Value& value);

Value valueOf(const pnum_cNumber& number);
Value valueOf(const darr_c1DArray& array);
Value valueOf(const darr_c2DArray& array);

/// What bnry_Operate answers for operands of these dimensions.
Outcome operateWithLibrary(int operation, const Value& a, const Value& b);

/// Values small and extreme, and among the floating ones zeros of both signs, infinities, NaN and
/// subnormals, unless they count as zero and `mayBeZero` is not set.
Element randomElement(int type, bool mayBeZero, std::mt19937& random);
void fillRandomly(Value& value, bool mayBeZero, std::mt19937& random);

std::string describe(const Value& value);

} // namespace oracle
