#pragma once

/// @file
/// The shifts by whole elements at which two planes are most alike.

#include <cstddef>
#include <vector>

#include "dataprocessing/fourier/regs_correlation.h"
#include "dataprocessing/fourier/regs_plane.h"

namespace dataprocessing::detail {

/// What peaks are ranked by.
enum regs_eRanking {
    regs_ByLikeness,   ///< how likely it is that what overlaps is the same but for noise
    regs_ByCorrelation ///< the correlation itself over the root of the overlap, as a band wants it
};

/// A shift and what is told of it.
struct regs_sPeak {
    regs_sShift shift;
    double rank;
};

/// A peak between elements.
struct regs_sSummit {
    regs_sPlace place;
    double height; ///< in the units of the ranks of shifts
};

/// The correlation coefficient of what overlaps, at all shifts at which enough does.
class regs_cSearch {
public:
    /// The means of the planes are 0. Enough is `overlap` times the smaller plane, along each axis.
    /// Throws expt_cProgramException ("regs", 1) for a band that holds no frequency, the size error
    /// and std::bad_alloc.
    regs_cSearch(const regs_sPlane& fixed, const regs_sPlane& moved, const regs_sBand& band,
                 regs_eRanking ranking, double overlap);

    /// The best of the peaks, by falling rank.
    std::vector<regs_sPeak> Peaks() const;

    /// Whether a peak is none on the slopes of another one: between them there is a valley.
    bool IsApart(const regs_sShift& peak, const regs_sShift& other) const;

    /// The peak at a shift, by a paraboloid.
    regs_sSummit Between(const regs_sShift& shift) const;

private:
    float At(int x, int y) const {
        const int column = x + fixed_.sizeX - 1;
        const int row = y + fixed_.sizeY - 1;
        return column < 0 || column >= countX_ || row < 0 || row >= countY_
                   ? 0
                   : ranks_[static_cast<std::size_t>(row) * static_cast<std::size_t>(countX_) +
                            static_cast<std::size_t>(column)];
    }
    double CountAt(const regs_sShift& shift) const;
    double RankAt(int x, int y) const;
    std::vector<regs_sShift> Candidates() const;
    std::vector<regs_sShift> LikelyCandidates() const;
    void RankByLikeness(const regs_cCorrelation& correlation, double overlap);
    void RankByCorrelation(const regs_cCorrelation& correlation, double overlap);

    const regs_sPlane& fixed_;
    const regs_sPlane& moved_;
    regs_eRanking ranking_;
    int countX_; // of shifts
    int countY_;
    // Coefficients times the root of the number of elements that overlap, or what stands for it.
    std::vector<float> ranks_;
};

} // namespace dataprocessing::detail
