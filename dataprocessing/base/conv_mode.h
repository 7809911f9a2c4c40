#pragma once

/// @file
/// What is taken of a complex element where a real one is wanted.

/// What a complex element becomes when it is converted to a real type.
enum conv_eComplexConversion : int {
    conv_RealPart = 0,      ///< its real part
    conv_ImaginaryPart = 1, ///< its imaginary part
    conv_Modulus = 2,       ///< sqrt(re^2 + im^2)
    conv_Phase = 3          ///< atan2(im, re), in (-pi, pi]
};
