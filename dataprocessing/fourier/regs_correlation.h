#pragma once

/// @file
/// Correlation of real images by their packed spectra.

#include <cstddef>

#include "dataprocessing/fourier/regs_plane.h"
#include "dataprocessing/valuemodel/darr.h"

namespace dataprocessing::detail {

/// The frequencies that take part, as parts of the Nyquist frequency.
struct regs_sBand {
    double low;
    double high;
};

/// Whether a band leaves out any frequency but 0.
bool regs_IsBanded(const regs_sBand& band);

/// Which coefficients of a correlation count.
enum regs_eWeights {
    regs_AllAlike, ///< all as they are
    regs_OverNoise ///< those the more that stand out of most others
};

/// The power of two, at least 2, that holds `size` elements. Throws the size error.
int regs_PowerFor(long long size);

/// The circular correlation of two planes that are extended with zeros to sizes that are powers of
/// two: at (x, y), the sum over all elements of a(i, j) b(i + x, j + y), in any units.
class regs_cCorrelation {
public:
    /// The sizes are at least those of both planes. Throws the size error and std::bad_alloc.
    regs_cCorrelation(const regs_sPlane& a, const regs_sPlane& b, int sizeX, int sizeY,
                      const regs_sBand& band, regs_eWeights weights);

    /// Whether the band has any of the frequencies that there are.
    bool HasFrequencies() const { return hasFrequencies_; }

    int SizeX() const { return values_.SizeX(); }
    int SizeY() const { return values_.SizeY(); }

    /// The correlation at a shift of either sign.
    float At(int x, int y) const {
        return values_.Elements<float>()[static_cast<std::size_t>(Wrapped(y, SizeY())) *
                                             static_cast<std::size_t>(SizeX()) +
                                         static_cast<std::size_t>(Wrapped(x, SizeX()))];
    }
    /// Row `y` of the correlation, for shifts along X from 0 on and then the negative ones.
    const float* Row(int y) const {
        return values_.Elements<float>().data() +
               static_cast<std::size_t>(Wrapped(y, SizeY())) * static_cast<std::size_t>(SizeX());
    }

    /// Moves (x, y) to the maximum near it of the correlation between elements, as its spectrum has
    /// it there. It goes no further than an element; false, and they have not moved, where there is
    /// no maximum.
    bool Climb(double& x, double& y) const;

private:
    /// The first and second derivatives at a shift.
    struct sSlopes {
        double x = 0;
        double y = 0;
        double xx = 0;
        double xy = 0;
        double yy = 0;
    };
    sSlopes SlopesAt(double x, double y) const;

    static int Wrapped(int shift, int size) { return shift & (size - 1); }

    darr_c2DArray spectrum_; // packed
    darr_c2DArray values_;
    bool hasFrequencies_ = false;
};

} // namespace dataprocessing::detail
