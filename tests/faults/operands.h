#pragma once

// One of everything that a public operation takes.

#include <string>

#include "dataprocessing/dataprocessing.h"

/// Arrays of two are calibrated differently, so that they have to be aligned. Real operands that
/// are not counts lie in [-1, 1] and are not zero: every function takes them.
struct Operands {
    Operands();
    Operands(const Operands&) = delete;
    Operands& operator=(const Operands&) = delete;
    /// Every bit of them.
    std::string Bytes() const;

    pnum_cNumber number = 0.75F;
    pnum_cNumber count = short{12};
    darr_c1DArray line;
    darr_c1DArray coarseLine;
    darr_c1DArray complexLine;
    darr_c2DArray image;
    darr_c2DArray coarseImage;
    darr_c2DArray complexImage;
    /// On the calibrations of `line` and `image`.
    barr_c1DBoolArray lineMask{23};
    barr_c2DBoolArray imageMask{9, 7};

    trns_cCoordTransformation transformation{3, 0.5};
    trns_cCoordTransformation otherTransformation{-1, 4};
    rnge_c1DRange range{1, 4};
    rnge_c2DRange rectangle{2, 2, 3, 2, 0.3};
    pos_c1DPosition position{2};
    pos_c2DPosition point{2, 3};

    /// Two peaks on a background that falls off as a power of position.
    darr_c1DArray spectrum;
    rnge_c1DRange window{5100, 6500};
    rnge_c1DRange freeRange{5200, 5300};
    dasl_c1DDataArraySelection selection{rnge_IndexNearest};
    plft_c1DPolyFittingFunction polynomial{2, selection};
    pwft_cPowerLawFittingFunction powerLaw{1, selection};
    pwft_cMultiPowerLawFitFunc background{1, selection};
    gsft_cGaussian high{500, 5900, 80};
    gsft_cGaussian low{100, 6400, 85};
    list_cPtrList<gsft_cGaussian> peaks{&high, &low};
    cal_c1DArrayCal calibration{5000, 10, 0};
    type_cBoolean fitCalibration = true;
    gsft_cResolution resolution{5900, 140};
    type_cBoolean fitResolution = true;
    gsft_c1DGaussianFittingFunction gaussians{selection,      peaks,      calibration,
                                              fitCalibration, resolution, fitResolution};

    arr_c1DNumberArray<double> values{3, 1, 4, 1, 5};
    arr_c2DNumberArray<double> equations{2, 3};
    arr_c1DNumberArray<double> rightSide{3, 5, 8};
    str_cString text{"a text that is too long for the room within a string"};
};
