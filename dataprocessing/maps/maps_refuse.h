#pragma once

/// @file
/// What the functions of maps refuse: each throws when `isRefused`, or compares for itself.

#include <cstddef>
#include <span>

#include "dataprocessing/maps/maps_filter.h"
#include "dataprocessing/maps/maps_stack.h"

namespace dataprocessing::detail {

void maps_RefuseOutside(bool isRefused);
void maps_RefuseType(bool isRefused);
void maps_RefusePlane(bool isRefused);
void maps_RefuseChannels(bool isRefused);
void maps_RefuseRange(bool isRefused);
void maps_RefuseShapes(bool isRefused);
void maps_RefuseOptions(bool isRefused);

/// Refuses a plane that is wanted and has another size than `count`.
template<class T>
void maps_CheckPlane(std::span<T> plane, std::size_t count) {
    maps_RefusePlane(!plane.empty() && plane.size() != count);
}
/// Refuses a size that is wanted, not 0, and other than that of `each` for so many spectra.
void maps_RefuseSize(std::size_t size, std::size_t each, std::size_t spectra);
/// Refuses planes of another size than those of `parameters` of so many spectra.
void maps_CheckPlanes(const maps_sPlanes& planes, std::size_t parameters, std::size_t spectra);
/// Refuses spectra of another size than `spectra` of so many channels.
void maps_CheckSpectra(const maps_sSpectra& made, std::size_t channels, std::size_t spectra);

} // namespace dataprocessing::detail
