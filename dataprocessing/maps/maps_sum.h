#pragma once

/// @file
/// The sum of many spectra, and the sum of each.

#include <span>

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/maps/maps_stack.h"
#include "dataprocessing/maps/maps_workspace.h"

/// Adds to `spectrum` what the channels of all spectra add up to, so that a map may come in parts,
/// and sets `image` to the sum of each spectrum. A span that is empty is not wanted. Sums of
/// integers are exact below 2^53; others are made in double precision, of a channel in the order of
/// the spectra. Not finite values spread. Counts n have the standard error sqrt(n).
///
///     std::vector<double> spectrum(stack.Channels()), image(stack.Spectra());
///     maps_Sum(stack, spectrum, image, workspace);
///
/// Throws expt_cProgramException ("maps", 3) for a span of another size; std::bad_alloc.
DATAPROCESSING_EXPORT void maps_Sum(const maps_cStack& stack, std::span<double> spectrum,
                                    std::span<double> image, maps_cWorkspace& workspace);
