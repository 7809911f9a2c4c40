#pragma once

#include <string>

#include "dataprocessing/dataprocessing.h"

namespace tour {

/// A spectrum and what its axis shows.
struct Spectrum {
    darr_c1DArray counts;
    std::string axis; ///< "energy"
    std::string unit; ///< "keV", empty where it is not known
};

/// An image and what its axes and values show. Row 0 is the top row.
struct Image {
    darr_c2DArray values;
    std::string unit;     ///< of both axes: "mm"
    std::string quantity; ///< what the values are: "counts"
};

} // namespace tour
