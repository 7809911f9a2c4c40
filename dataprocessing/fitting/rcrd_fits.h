#pragma once

/// @file
/// Records of fits: results and parameters saved to streams and loaded again, as the values of
/// rcrd.h are.
///
/// Objects with their numbers, fields with their tags:
///
/// - `nlsq_sResult`, `FitResult` (4109): Parameters 300, StandardErrors 301, Covariance 302,
///   ChiSquared 303, DegreesOfFreedom 304, Iterations 305, Evaluations 306, End 307, Gradient 308,
///   Step 309, Decrease 310, Free 311, Rank 312, AtBound 313, Undetermined 314.
/// - `pkmd_sResult`, `PeakFitResult` (4110): those, Channels 315, Name 316 for each parameter,
///   Shapes 317, Peaks 318: of each peak position, height, width, extra and area, each before its
///   error.
/// - `plft_c1DPolyFittingFunction`, `Polynomial` (4111): Order 320, Coefficients 321, Covariance
///   322, StandardErrors 327, Rank 323, Points 324, ResidualSum 325.
/// - `plft_c1DOffsetPolyFittingFunction`, `OffsetPolynomial` (4112): those and Offset 326.
/// - `pwft_cPowerLawFittingFunction`, `PowerLaw` (4113): those of a polynomial.
/// - `gsft_cGaussian`, `Gaussian` (4114): Amplitude 330, Center 331, Width 332.
/// - `gsft_cResolution`, `Resolution` (4115): Position 333, FWHM 334, Factor 335.
/// - `pkmd_cModel`, `PeakModel` (4116), in the order in which its parts were added: Parts 340, the
///   shapes of peaks (0 to 4), polynomials (5), power laws (6), exponentials (7), curves (8) and
///   the width law (9); Counts 341, of the coefficients of a polynomial and the channels of a
///   curve, 0 of others; References 342 and Scales 343; Curves 344, one behind the other; of each
///   parameter Starts 345, Kinds 346 (free 0, fixed 1, tied 2), Lower 347, Upper 348, To 349,
///   Factors 350, TieOffsets 351.
/// - `pwft_cMultiPowerLawFitFunc`, `MultiPowerLaw` (4117): Order 320; of each peak Positions 360,
///   Ranges 361 (the ends of its background's range and of its window), Ranks 362, Points 363,
///   ResidualSums 364, and those of a polynomial one behind the other: Coefficients 321, Covariance
///   322 where the rank is not 0, StandardErrors 327; of the data of the last fit Data 365, Offset
///   366, Delta 367, CalIndex 368, Deviations 369.
///
/// A fitting function that is loaded has the curve, the errors and the order of the one that was
/// saved; its selection, its name and its receivers stay its own. So has a peak its reference.
///
///     rcrd_Save(file, background); // a power law, after its fit
///     rcrd_Load(file, background); // another one, ready for Curve

#include <iosfwd>

#include "dataprocessing/algebra/nlsq.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/fitting/gsft.h"
#include "dataprocessing/fitting/pkmd.h"
#include "dataprocessing/fitting/plft.h"
#include "dataprocessing/fitting/pwft.h"
#include "dataprocessing/valuemodel/rcrd.h"

// clang-format off

/// @name Saving fits
/// See rcrd.h, whose errors are thrown.
/// @{
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const nlsq_sResult&                      value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const pkmd_sResult&                      value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const plft_c1DPolyFittingFunction&       value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const plft_c1DOffsetPolyFittingFunction& value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const pwft_cPowerLawFittingFunction&     value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const gsft_cGaussian&                    value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const gsft_cResolution&                  value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const pkmd_cModel&                       value, rcrd_eForm form = rcrd_Binary);
DATAPROCESSING_EXPORT void rcrd_Save(std::ostream& stream, const pwft_cMultiPowerLawFitFunc&        value, rcrd_eForm form = rcrd_Binary);
/// @}

/// @name Loading fits
/// See rcrd.h, whose errors are thrown; a record whose numbers do not go together is a damaged one.
/// @{
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, nlsq_sResult&                      value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, pkmd_sResult&                      value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, plft_c1DPolyFittingFunction&       value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, plft_c1DOffsetPolyFittingFunction& value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, pwft_cPowerLawFittingFunction&     value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, gsft_cGaussian&                    value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, gsft_cResolution&                  value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, pkmd_cModel&                       value);
DATAPROCESSING_EXPORT void rcrd_Load(std::istream& stream, pwft_cMultiPowerLawFitFunc&        value);
/// @}

/// @name Fits as fields of an object
/// See rcrd.h. Throws std::bad_alloc.
/// @{
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const nlsq_sResult&                      value, const str_cString& name);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pkmd_sResult&                      value, const str_cString& name);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const plft_c1DPolyFittingFunction&       value, const str_cString& name);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const plft_c1DOffsetPolyFittingFunction& value, const str_cString& name);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pwft_cPowerLawFittingFunction&     value, const str_cString& name);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const gsft_cGaussian&                    value, const str_cString& name);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const gsft_cResolution&                  value, const str_cString& name);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pkmd_cModel&                       value, const str_cString& name);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cASCII_ostream& stream, const pwft_cMultiPowerLawFitFunc&        value, const str_cString& name);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const nlsq_sResult&                      value, unsigned short tag);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pkmd_sResult&                      value, unsigned short tag);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const plft_c1DPolyFittingFunction&       value, unsigned short tag);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const plft_c1DOffsetPolyFittingFunction& value, unsigned short tag);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pwft_cPowerLawFittingFunction&     value, unsigned short tag);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const gsft_cGaussian&                    value, unsigned short tag);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const gsft_cResolution&                  value, unsigned short tag);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pkmd_cModel&                       value, unsigned short tag);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Write(tgio_cBinary_ostream& stream, const pwft_cMultiPowerLawFitFunc&        value, unsigned short tag);
/// @}

/// @name Fits among the fields of an object
/// See rcrd.h. Throws std::bad_alloc.
/// @{
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, nlsq_sResult&                      value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pkmd_sResult&                      value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, plft_c1DPolyFittingFunction&       value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, plft_c1DOffsetPolyFittingFunction& value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pwft_cPowerLawFittingFunction&     value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, gsft_cGaussian&                    value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, gsft_cResolution&                  value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pkmd_cModel&                       value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cASCII_istream& stream, pwft_cMultiPowerLawFitFunc&        value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, nlsq_sResult&                      value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pkmd_sResult&                      value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, plft_c1DPolyFittingFunction&       value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, plft_c1DOffsetPolyFittingFunction& value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pwft_cPowerLawFittingFunction&     value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, gsft_cGaussian&                    value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, gsft_cResolution&                  value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pkmd_cModel&                       value);
DATAPROCESSING_EXPORT type_cBoolean rcrd_Read(tgio_cBinary_istream& stream, pwft_cMultiPowerLawFitFunc&        value);
/// @}

// clang-format on
