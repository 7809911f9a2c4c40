#pragma once

/// @file
/// The exception of the numerical routines.

#include "dataprocessing/base/expt.h"
#include "dataprocessing/dataprocessing_export.h"

/// A matrix that had to be inverted in a fit is singular: the data cannot tell some of the
/// parameters apart.
class DATAPROCESSING_EXPORT rcps_cRecipesException : public expt_cUserException {
public:
    /// ("recipes", 0, "Singular matrix.")
    rcps_cRecipesException();
    ~rcps_cRecipesException() override;
    rcps_cRecipesException(const rcps_cRecipesException&) noexcept = default;
    rcps_cRecipesException& operator=(const rcps_cRecipesException&) noexcept = default;
};
