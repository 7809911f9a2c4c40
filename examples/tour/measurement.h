#pragma once

#include <string>
#include <vector>

#include "dataprocessing/dataprocessing.h"

namespace tour {

/// A spectrum and what its axis shows.
struct Spectrum {
    darr_c1DArray counts;
    std::string axis; ///< "energy"
    std::string unit; ///< "keV", empty where it is not known
    /// What does not fit together in the file, for people.
    std::vector<std::string> remarks = {};

    /// Whether positions are energies of photons.
    bool IsOfEnergy() const { return unit == "keV" || unit == "eV"; }
};

/// An image and what its axes and values show.
struct Image {
    darr_c2DArray values;
    std::string unit;     ///< of both axes: "mm"
    std::string quantity; ///< what the values are: "counts"
    /// What was done to the values of the file, and what of it is left out, for people.
    std::vector<std::string> remarks = {};
};

} // namespace tour
