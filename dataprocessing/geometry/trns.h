#pragma once

/// @file
/// Linear coordinate transformations between a base space and derived ones.

#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/exchange/tgio.h"
#include "dataprocessing/valuemodel/pos.h"
#include "dataprocessing/valuemodel/rnge.h"

/// The linear map of one axis from a base space to a derived one: derived = base x scale + offset.
///
/// It can be written to and read from tagged streams as an object of the type
/// `obty_CoordTransformString`, `obty_CoordTransformType`, with the fields "Offset" and "Scale" in
/// ASCII streams and the tags 256 and 258 in binary ones, in this order. Reading takes them in any
/// order, skips what it does not know and keeps what is missing.
///
///     const trns_cCoordTransformation energy(rnge_c1DRange(0, 10), rnge_c1DRange(100, 200));
///     energy.TransformFromBase(5); // 150
class DATAPROCESSING_EXPORT trns_cCoordTransformation : public tgio_cTaggedStreamObject {
public:
    /// The map with this offset and scale. Throws expt_cProgramException ("transfrm", 29) when the
    /// magnitude of the scale is below type_MinValue.
    trns_cCoordTransformation(double offset = 0, double scale = 1);
    /// The map that takes `base` onto `derived`, start to start and end to end. Throws
    /// expt_cUserException ("transfrm", 40, "Invalid base range.") when the end of `base` minus its
    /// start is below type_MinValue, so that a reversed base is refused too.
    trns_cCoordTransformation(const rnge_c1DRange& base, const rnge_c1DRange& derived);
    trns_cCoordTransformation(const trns_cCoordTransformation&) = default;            ///< A copy.
    trns_cCoordTransformation& operator=(const trns_cCoordTransformation&) = default; ///< A copy.
    ~trns_cCoordTransformation() override;

    /// The derived coordinate of base coordinate 0.
    double Offset() const noexcept { return offset_; }
    /// Derived units per base unit.
    double Scale() const noexcept { return scale_; }
    /// Sets the offset.
    void SetOffset(double offset) noexcept { offset_ = offset; }
    /// Sets the scale, unchecked: with zero, maps to the base give infinities or NaN.
    void SetScale(double scale) noexcept { scale_ = scale; }

    /// x x scale + offset.
    double TransformFromBase(double x) const noexcept { return x * scale_ + offset_; }
    /// (y - offset) / scale.
    double TransformToBase(double y) const noexcept { return (y - offset_) / scale_; }

private:
    const tgio_cObjectType& ObjectType() const override;
    type_cBoolean Read(tgio_cASCII_istream& stream) override;
    type_cBoolean Read(tgio_cBinary_istream& stream) override;
    type_cBoolean Write(tgio_cASCII_ostream& stream) const override;
    type_cBoolean Write(tgio_cBinary_ostream& stream) const override;

    double offset_ = 0;
    double scale_ = 1;
};

// clang-format off

/// @name From one derived space to another
/// Each coordinate goes to the base space and from there to the other derived one:
/// (x - from.offset) / from.scale x to.scale + to.offset. Ranges are mapped end by end and not
/// reordered: a negative scale gives a range whose start lies after its end. The result of a 2D
/// range is upright: left and right of the X transformations, bottom and top of the Y ones. Nothing
/// is thrown.
/// @{
DATAPROCESSING_EXPORT double          trns_Transform(double x, const trns_cCoordTransformation& from, const trns_cCoordTransformation& to) noexcept;
DATAPROCESSING_EXPORT pos_c1DPosition trns_Transform(const pos_c1DPosition& position, const trns_cCoordTransformation& from, const trns_cCoordTransformation& to) noexcept;
DATAPROCESSING_EXPORT pos_c2DPosition trns_Transform(const pos_c2DPosition& position, const trns_cCoordTransformation& fromX, const trns_cCoordTransformation& fromY, const trns_cCoordTransformation& toX, const trns_cCoordTransformation& toY) noexcept;
DATAPROCESSING_EXPORT rnge_c1DRange   trns_Transform(const rnge_c1DRange& range, const trns_cCoordTransformation& from, const trns_cCoordTransformation& to);
DATAPROCESSING_EXPORT rnge_c2DRange   trns_Transform(const rnge_c2DRange& range, const trns_cCoordTransformation& fromX, const trns_cCoordTransformation& fromY, const trns_cCoordTransformation& toX, const trns_cCoordTransformation& toY);
/// @}

/// @name From the base space
/// Each coordinate by trns_cCoordTransformation::TransformFromBase; ranges as above.
/// @{
DATAPROCESSING_EXPORT pos_c1DPosition trns_TransformFromBase(const pos_c1DPosition& position, const trns_cCoordTransformation& transformation) noexcept;
DATAPROCESSING_EXPORT pos_c2DPosition trns_TransformFromBase(const pos_c2DPosition& position, const trns_cCoordTransformation& x, const trns_cCoordTransformation& y) noexcept;
DATAPROCESSING_EXPORT rnge_c1DRange   trns_TransformFromBase(const rnge_c1DRange& range, const trns_cCoordTransformation& transformation);
DATAPROCESSING_EXPORT rnge_c2DRange   trns_TransformFromBase(const rnge_c2DRange& range, const trns_cCoordTransformation& x, const trns_cCoordTransformation& y);
/// @}

/// @name To the base space
/// Each coordinate by trns_cCoordTransformation::TransformToBase; ranges as above.
/// @{
DATAPROCESSING_EXPORT pos_c1DPosition trns_TransformToBase(const pos_c1DPosition& position, const trns_cCoordTransformation& transformation) noexcept;
DATAPROCESSING_EXPORT pos_c2DPosition trns_TransformToBase(const pos_c2DPosition& position, const trns_cCoordTransformation& x, const trns_cCoordTransformation& y) noexcept;
DATAPROCESSING_EXPORT rnge_c1DRange   trns_TransformToBase(const rnge_c1DRange& range, const trns_cCoordTransformation& transformation);
DATAPROCESSING_EXPORT rnge_c2DRange   trns_TransformToBase(const rnge_c2DRange& range, const trns_cCoordTransformation& x, const trns_cCoordTransformation& y);
/// @}

// clang-format on
