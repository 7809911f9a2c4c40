#include <cmath>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/exchange/obty.h"
#include "dataprocessing/exchange/tgio_lasting.h"
#include "dataprocessing/geometry/trns.h"

using dataprocessing::detail::tgio_cLasting;

namespace {

constexpr char offsetName[] = "Offset";
constexpr char scaleName[] = "Scale";
constexpr unsigned short offsetTag = 256;
constexpr unsigned short scaleTag = 258;

/// Maps one coordinate; the three kinds of map differ in nothing else.
template<class Map>
pos_c1DPosition mapped(const pos_c1DPosition& position, Map map) {
    return pos_c1DPosition(map(position.Value()));
}
template<class MapX, class MapY>
pos_c2DPosition mapped(const pos_c2DPosition& position, MapX mapX, MapY mapY) {
    return {mapX(position.X()), mapY(position.Y())};
}
template<class Map>
rnge_c1DRange mapped(const rnge_c1DRange& range, Map map) {
    return {map(range.Start()), map(range.End())};
}
template<class MapX, class MapY>
rnge_c2DRange mapped(const rnge_c2DRange& range, MapX mapX, MapY mapY) {
    return {mapX(range.Left()), mapY(range.Bottom()), mapX(range.Right()), mapY(range.Top())};
}

auto fromBase(const trns_cCoordTransformation& t) {
    return [&t](double x) { return t.TransformFromBase(x); };
}
auto toBase(const trns_cCoordTransformation& t) {
    return [&t](double y) { return t.TransformToBase(y); };
}
auto between(const trns_cCoordTransformation& from, const trns_cCoordTransformation& to) {
    return [&from, &to](double x) { return to.TransformFromBase(from.TransformToBase(x)); };
}

} // namespace

trns_cCoordTransformation::trns_cCoordTransformation(double offset, double scale)
    : offset_(offset), scale_(scale) {
    if (std::fabs(scale) < type_MinValue)
        throw expt_cProgramException("transfrm", 29, "A scale near zero cannot be inverted.");
}

trns_cCoordTransformation::trns_cCoordTransformation(const rnge_c1DRange& base,
                                                     const rnge_c1DRange& derived) {
    const double length = base.End() - base.Start();
    if (length < type_MinValue)
        throw expt_cUserException("transfrm", 40, "Invalid base range.");
    scale_ = (derived.End() - derived.Start()) / length;
    offset_ = derived.Start() - base.Start() * scale_;
}

trns_cCoordTransformation::~trns_cCoordTransformation() = default;

const tgio_cObjectType& trns_cCoordTransformation::ObjectType() const {
    static const tgio_cLasting type(obty_CoordTransformString, obty_CoordTransformType);
    return type.value;
}

type_cBoolean trns_cCoordTransformation::Read(tgio_cASCII_istream& stream) {
    bool ok = true;
    while (ok && stream.NextField()) {
        if (stream.CurrentName() == offsetName)
            ok = stream.Read(offset_);
        else if (stream.CurrentName() == scaleName)
            ok = stream.Read(scale_);
        else
            ok = stream.SkipObject();
    }
    return ok;
}

type_cBoolean trns_cCoordTransformation::Read(tgio_cBinary_istream& stream) {
    bool ok = true;
    while (ok && stream.NextField()) {
        if (stream.CurrentTag() == offsetTag)
            ok = stream.Read(offset_);
        else if (stream.CurrentTag() == scaleTag)
            ok = stream.Read(scale_);
        else
            ok = stream.SkipObject();
    }
    return ok;
}

type_cBoolean trns_cCoordTransformation::Write(tgio_cASCII_ostream& stream) const {
    return stream.Write(offset_, offsetName, false) && stream.Write(scale_, scaleName, false);
}

type_cBoolean trns_cCoordTransformation::Write(tgio_cBinary_ostream& stream) const {
    return stream.Write(offset_, offsetTag) && stream.Write(scale_, scaleTag);
}

// clang-format off

double          trns_Transform(double x, const trns_cCoordTransformation& from, const trns_cCoordTransformation& to) noexcept { return between(from, to)(x); }
pos_c1DPosition trns_Transform(const pos_c1DPosition& position, const trns_cCoordTransformation& from, const trns_cCoordTransformation& to) noexcept { return mapped(position, between(from, to)); }
pos_c2DPosition trns_Transform(const pos_c2DPosition& position, const trns_cCoordTransformation& fromX, const trns_cCoordTransformation& fromY, const trns_cCoordTransformation& toX, const trns_cCoordTransformation& toY) noexcept { return mapped(position, between(fromX, toX), between(fromY, toY)); }
rnge_c1DRange   trns_Transform(const rnge_c1DRange& range, const trns_cCoordTransformation& from, const trns_cCoordTransformation& to) { return mapped(range, between(from, to)); }
rnge_c2DRange   trns_Transform(const rnge_c2DRange& range, const trns_cCoordTransformation& fromX, const trns_cCoordTransformation& fromY, const trns_cCoordTransformation& toX, const trns_cCoordTransformation& toY) { return mapped(range, between(fromX, toX), between(fromY, toY)); }

pos_c1DPosition trns_TransformFromBase(const pos_c1DPosition& position, const trns_cCoordTransformation& transformation) noexcept { return mapped(position, fromBase(transformation)); }
pos_c2DPosition trns_TransformFromBase(const pos_c2DPosition& position, const trns_cCoordTransformation& x, const trns_cCoordTransformation& y) noexcept { return mapped(position, fromBase(x), fromBase(y)); }
rnge_c1DRange   trns_TransformFromBase(const rnge_c1DRange& range, const trns_cCoordTransformation& transformation) { return mapped(range, fromBase(transformation)); }
rnge_c2DRange   trns_TransformFromBase(const rnge_c2DRange& range, const trns_cCoordTransformation& x, const trns_cCoordTransformation& y) { return mapped(range, fromBase(x), fromBase(y)); }

pos_c1DPosition trns_TransformToBase(const pos_c1DPosition& position, const trns_cCoordTransformation& transformation) noexcept { return mapped(position, toBase(transformation)); }
pos_c2DPosition trns_TransformToBase(const pos_c2DPosition& position, const trns_cCoordTransformation& x, const trns_cCoordTransformation& y) noexcept { return mapped(position, toBase(x), toBase(y)); }
rnge_c1DRange   trns_TransformToBase(const rnge_c1DRange& range, const trns_cCoordTransformation& transformation) { return mapped(range, toBase(transformation)); }
rnge_c2DRange   trns_TransformToBase(const rnge_c2DRange& range, const trns_cCoordTransformation& x, const trns_cCoordTransformation& y) { return mapped(range, toBase(x), toBase(y)); }

// clang-format on
