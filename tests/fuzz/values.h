#pragma once

// Operands in the terms of the arithmetic's oracle, as the bytes of a fuzzer have it.

#include "dataprocessing/valuemodel/cal.h"
#include "tests/binary/arith_oracle.h"
#include "tests/fuzz/input.h"

oracle::Axis nextAxis(cInput& input, int count);
cal_c1DArrayCal nextCal(cInput& input);
/// A number (no dimension) or an array of up to 40 elements along each axis.
oracle::Value nextValue(cInput& input, int dimensions);

/// Says what differs and ends the program, unless `difference` is empty.
void requireNone(const std::string& difference, const std::string& what);
