#include "dataprocessing/maps/maps_refuse.h"

#include "dataprocessing/base/expt.h"

namespace dataprocessing::detail {

namespace {

void refuseIf(bool isRefused, int line, const char* text) {
    if (isRefused)
        throw expt_cProgramException("maps", line, text);
}

} // namespace

void maps_RefuseOutside(bool isRefused) {
    refuseIf(isRefused, 1, "A spectrum lies outside the block.");
}
void maps_RefuseType(bool isRefused) {
    refuseIf(isRefused, 2, "The elements are not real numbers, or do not lie where such may.");
}
void maps_RefusePlane(bool isRefused) {
    refuseIf(isRefused, 3, "A plane has another size than there are spectra.");
}
void maps_RefuseChannels(bool isRefused) {
    refuseIf(isRefused, 4, "The spectra have other channels or another calibration.");
}
void maps_RefuseRange(bool isRefused) {
    refuseIf(isRefused, 5, "A range takes no channel, or positions that have no meaning here.");
}
void maps_RefuseShapes(bool isRefused) {
    refuseIf(isRefused, 6, "The shapes are none, not finite, or made of each other.");
}
void maps_RefuseOptions(bool isRefused) { refuseIf(isRefused, 7, "An option has no meaning."); }

void maps_RefuseSize(std::size_t size, std::size_t each, std::size_t spectra) {
    // A stack may have more spectra than a product holds.
    const bool isRight = spectra == 0 ? size == 0 : size % spectra == 0 && size / spectra == each;
    maps_RefusePlane(size != 0 && !isRight);
}

void maps_CheckPlanes(const maps_sPlanes& planes, std::size_t parameters, std::size_t spectra) {
    maps_RefuseSize(planes.values.size(), parameters, spectra);
    maps_RefuseSize(planes.standardErrors.size(), parameters, spectra);
    maps_CheckPlane(planes.chiSquared, spectra);
    maps_CheckPlane(planes.iterations, spectra);
    maps_CheckPlane(planes.status, spectra);
}

void maps_CheckSpectra(const maps_sSpectra& made, std::size_t channels, std::size_t spectra) {
    maps_RefuseSize(made.values.size(), channels, spectra);
    maps_RefuseSize(made.standardErrors.size(), channels, spectra);
    maps_CheckPlane(made.status, spectra);
}

} // namespace dataprocessing::detail
