#pragma once

/// @file
/// Small normal equations, one set after the other.

#include <cstddef>
#include <span>
#include <vector>

namespace dataprocessing::detail {

/// H x = g of so many unknowns with a symmetric H, of which the lower half is looked at. Unknowns
/// may be held at 0.
class maps_cNormal {
public:
    /// The memory is the caller's: MemoryFor(unknowns) doubles.
    maps_cNormal(std::size_t unknowns, double* memory) noexcept
        : count_(unknowns), h_(memory), g_(h_ + unknowns * unknowns), x_(g_ + unknowns),
          l_(x_ + unknowns), column_(l_ + unknowns * unknowns), held_(column_ + unknowns) {}
    static constexpr std::size_t MemoryFor(std::size_t unknowns) noexcept {
        return 2 * unknowns * unknowns + 4 * unknowns;
    }

    double& H(std::size_t i, std::size_t j) noexcept { return h_[i * count_ + j]; }
    double& G(std::size_t i) noexcept { return g_[i]; }
    std::span<const double> X() const noexcept { return {x_, count_}; }
    bool IsHeld(std::size_t i) const noexcept { return held_[i] != 0; }
    void HoldNone() noexcept;

    /// Solves for the unknowns that are not held. Answers false when the equations do not determine
    /// them to half of the digits.
    bool Solve() noexcept;
    /// Solves with the unknowns that `isNonNegative` marks kept from falling below 0: those that
    /// would are held (C. L. Lawson and R. J. Hanson, Solving Least Squares Problems, 1974, chapter
    /// 23, on normal equations, from the signs of the free solution).
    bool SolveNonNegative(std::span<const char> isNonNegative) noexcept;
    /// Element (i, i) of the inverse, among the unknowns that are not held; 0 for those. The
    /// equations have been solved.
    double Variance(std::size_t i) noexcept;
    /// Row i of the inverse, in the same way.
    void InverseRow(std::size_t i, std::span<double> row) noexcept;

private:
    bool Factor() noexcept;
    /// The one that is held and, let go, would lower the sum of squares the most; the number of
    /// unknowns where there is none.
    std::size_t Steepest() const noexcept;

    std::size_t count_;
    double* h_;
    double* g_;
    double* x_;
    double* l_; ///< By rows; the diagonal inverted, 0 where an unknown is held.
    double* column_;
    double* held_; ///< 0 where an unknown is free.
};

} // namespace dataprocessing::detail
