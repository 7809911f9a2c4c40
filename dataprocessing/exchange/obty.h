#pragma once

/// @file
/// The object types that the library's classes have in tagged streams: the name stands in ASCII
/// streams, the number in binary ones. Numbers from 4096 to 8191 belong to the library.

/// The type name of a linear coordinate transformation.
inline constexpr const char obty_CoordTransformString[] = "CoordTransform";
/// The type number of a linear coordinate transformation.
inline constexpr unsigned short obty_CoordTransformType = 4096;

/// The type name of an object that has a name and no type of its own.
inline constexpr const char obty_NamedObjectString[] = "NamedObject";
/// The type number of an object that has a name and no type of its own.
inline constexpr unsigned short obty_NamedObjectType = 4097;

/// @name Types of records
/// See rcrd.h and rcrd_fits.h.
/// @{
inline constexpr const char obty_NumberString[] = "Number";
inline constexpr unsigned short obty_NumberType = 4098;
inline constexpr const char obty_NumberArray1DString[] = "NumberArray1D";
inline constexpr unsigned short obty_NumberArray1DType = 4099;
inline constexpr const char obty_NumberArray2DString[] = "NumberArray2D";
inline constexpr unsigned short obty_NumberArray2DType = 4100;
inline constexpr const char obty_Array1DString[] = "Array1D";
inline constexpr unsigned short obty_Array1DType = 4101;
inline constexpr const char obty_Array2DString[] = "Array2D";
inline constexpr unsigned short obty_Array2DType = 4102;
inline constexpr const char obty_BoolArray1DString[] = "BoolArray1D";
inline constexpr unsigned short obty_BoolArray1DType = 4103;
inline constexpr const char obty_BoolArray2DString[] = "BoolArray2D";
inline constexpr unsigned short obty_BoolArray2DType = 4104;
inline constexpr const char obty_Calibration1DString[] = "Calibration1D";
inline constexpr unsigned short obty_Calibration1DType = 4105;
inline constexpr const char obty_Calibration2DString[] = "Calibration2D";
inline constexpr unsigned short obty_Calibration2DType = 4106;
inline constexpr const char obty_Range1DString[] = "Range1D";
inline constexpr unsigned short obty_Range1DType = 4107;
inline constexpr const char obty_Range2DString[] = "Range2D";
inline constexpr unsigned short obty_Range2DType = 4108;
inline constexpr const char obty_FitResultString[] = "FitResult";
inline constexpr unsigned short obty_FitResultType = 4109;
inline constexpr const char obty_PeakFitResultString[] = "PeakFitResult";
inline constexpr unsigned short obty_PeakFitResultType = 4110;
inline constexpr const char obty_PolynomialString[] = "Polynomial";
inline constexpr unsigned short obty_PolynomialType = 4111;
inline constexpr const char obty_OffsetPolynomialString[] = "OffsetPolynomial";
inline constexpr unsigned short obty_OffsetPolynomialType = 4112;
inline constexpr const char obty_PowerLawString[] = "PowerLaw";
inline constexpr unsigned short obty_PowerLawType = 4113;
inline constexpr const char obty_GaussianString[] = "Gaussian";
inline constexpr unsigned short obty_GaussianType = 4114;
inline constexpr const char obty_ResolutionString[] = "Resolution";
inline constexpr unsigned short obty_ResolutionType = 4115;
inline constexpr const char obty_PeakModelString[] = "PeakModel";
inline constexpr unsigned short obty_PeakModelType = 4116;
inline constexpr const char obty_MultiPowerLawString[] = "MultiPowerLaw";
inline constexpr unsigned short obty_MultiPowerLawType = 4117;
/// @}
