#pragma once

/// @file
/// The shift between two planes.

#include "dataprocessing/fourier/regs.h"
#include "dataprocessing/fourier/regs_pair.h"

namespace dataprocessing::detail {

/// As regs_Register has it, in elements. Throws as it does.
regs_s2DShift regs_Found(const regs_sPair& whole, const regs_sOptions& options);

} // namespace dataprocessing::detail
