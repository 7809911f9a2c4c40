#pragma once

namespace dataprocessing::detail {

/// The real and the imaginary parts of twiddle factors.
struct rfft_sFactors {
    const float* re;
    const float* im;
};

} // namespace dataprocessing::detail
