#pragma once

/// @file
/// A fixed and a moved plane: how alike they are, at which shifts, and what is made of both.

#include <algorithm>
#include <utility>

#include "dataprocessing/fourier/regs_plane.h"

namespace dataprocessing::detail {

/// Means of so many elements along each axis, less their mean; a rest that fills none is left out.
regs_sPlane regs_Averaged(const regs_sPlane& plane, int perX, int perY);

/// A part of a plane.
regs_sPlane regs_Cut(const regs_sPlane& plane, int firstX, int firstY, int sizeX, int sizeY);

/// A part of a plane less its mean, faded out over an eighth of it towards each edge.
regs_sPlane regs_Faded(const regs_sPlane& plane, int firstX, int firstY, int sizeX, int sizeY);

/// A fixed and a moved plane, and the shifts at which enough overlaps.
struct regs_sPair {
    regs_sPlane fixed;
    regs_sPlane moved;
    regs_sShifts alongX;
    regs_sShifts alongY;

    regs_sPair(regs_sPlane first, regs_sPlane second, double overlap)
        : fixed(std::move(first)), moved(std::move(second)),
          alongX(fixed.sizeX, moved.sizeX, overlap), alongY(fixed.sizeY, moved.sizeY, overlap) {}

    bool Has(const regs_sShift& shift) const { return alongX.Has(shift.x) && alongY.Has(shift.y); }
    regs_sPlace Within(const regs_sPlace& place) const {
        const regs_sShift shift = regs_Nearest(place);
        return {alongX.Has(shift.x) ? place.x : std::clamp(shift.x, alongX.least, alongX.most),
                alongY.Has(shift.y) ? place.y : std::clamp(shift.y, alongY.least, alongY.most)};
    }
    /// By one of `step` rows.
    double LikenessAt(const regs_sShift& shift, int step = 1) const {
        return regs_LikenessOf(fixed, moved, shift, step).coefficient;
    }
    double RankAt(const regs_sShift& shift, int step = 1) const;
    /// How many rows to go on at a time, so that some thousand elements are looked at.
    int Sparse() const;
    bool HasX() const { return fixed.sizeX > 1 || moved.sizeX > 1; }
    bool HasY() const { return fixed.sizeY > 1 || moved.sizeY > 1; }
};

/// From neighbour to neighbour to the shift of the highest rank, by one of `rows` rows, at most so
/// many elements away.
regs_sShift regs_Climbed(const regs_sPair& whole, regs_sShift shift, int most, int rows = 1);

/// The vertex of a paraboloid through the likeness at a shift and at its neighbours.
regs_sPlace regs_VertexAt(const regs_sPair& whole, const regs_sShift& shift);

} // namespace dataprocessing::detail
