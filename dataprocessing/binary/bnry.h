#pragma once

/// @file
/// Element-wise binary operations on numbers and arrays.

/// The arithmetic operations.
enum bnry_eAritBinaryOperation : int {
    bnry_Add = 0,      ///< a + b
    bnry_Subtract = 1, ///< a - b
    bnry_Multiply = 2, ///< a * b
    bnry_Divide = 3,   ///< a / b
    bnry_Power = 4     ///< a raised to b
};
