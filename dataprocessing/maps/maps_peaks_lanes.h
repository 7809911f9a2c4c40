#pragma once

/// @file
/// Fits of Gaussian peaks over a line to some spectra at a time: what the kernels work on. A
/// "vector" is a number for each lane, of which there are maps_LaneWidth().

#include <cstddef>
#include <vector>

namespace dataprocessing::detail {

/// The channels of one peak, counted from the first that takes part.
struct maps_sPeakWindow {
    std::size_t from;
    std::size_t to;
    double middle;         ///< The position of channel from + Count() / 2.
    std::size_t place;     ///< Of the first channel, among those of all windows.
    bool isKept;           ///< Whether the exponentials are needed again, for a pair.
    std::size_t keptPlace; ///< Where.
    std::size_t Count() const noexcept { return to - from; }
};

/// Two peaks that have channels in common.
struct maps_sPeakPair {
    std::size_t first;
    std::size_t second; ///< The larger number.
    std::size_t from;   ///< The first of the channels.
    std::size_t count;
    double position; ///< Of the first channel.
};

/// What a parameter is made of.
struct maps_sPeakLink {
    bool isVarying;
    std::size_t variable;
    double factor;
    double offset;
};

/// What the model and the positions alone tell. Parameters are position, height and width of each
/// peak, then the line's.
struct maps_sPeakPlan {
    std::vector<maps_sPeakWindow> windows;
    std::vector<maps_sPeakPair> pairs;
    std::size_t lineTerms = 0; ///< 2 for a line, 1 for a constant.
    double reference = 0;
    double inverseScale = 1;
    double delta = 1;
    std::size_t parameters = 0;
    std::size_t variables = 0;
    bool isEachVariable = false; ///< Parameters are variables, in their order.
    std::vector<maps_sPeakLink> links;
    std::vector<std::size_t> firsts;   ///< Of each variable, the first that it is coupled to.
    std::vector<std::size_t> channels; ///< Those of all windows, in their order.
    std::size_t kept = 0;              ///< How many exponentials are kept.
};

/// A peak whose position is more widths away from the middle of its window, squared, or that is so
/// much narrower than a channel, squared, has no value.
inline constexpr double maps_farthest = 1200;
inline constexpr double maps_coarsest = 64;
/// What has to be left of a diagonal element when the columns before are taken away.
inline constexpr double maps_leastPivot = 1e-14;

/// The spectra in the lanes.
struct maps_sPeakLanes {
    /// Sums over all channels of the weights times these.
    enum eSum { One, T, TT, Y, TY, YY, Sums };
    double* w;    ///< Of the channels of all windows, a vector each.
    double* wy;   ///< Times the values.
    double* kept; ///< The exponentials of peaks that belong to pairs.
    double* sums;
};

/// H x = g: the curvature, by rows, its lower half; and half of the slope downward.
struct maps_sPeakEquations {
    double* h;
    double* g;
    double* chiSquared;
};

/// See the kernels.
/// @{
std::size_t maps_PeakLanes();
void maps_EvaluateLanes(const maps_sPeakPlan& plan, const maps_sPeakLanes& lanes, const double* p,
                        const maps_sPeakEquations& to);
void maps_CollectLanes(const maps_sPeakPlan& plan, const maps_sPeakEquations& from,
                       const maps_sPeakEquations& to);
void maps_FactorLanes(const maps_sPeakPlan& plan, const maps_sPeakEquations& equations,
                      const double* damping, double* l, double* inverse, double* isWeak);
void maps_SolveLanes(const maps_sPeakPlan& plan, const maps_sPeakEquations& equations,
                     const double* l, const double* inverse, double* step, double* promise);
void maps_VarianceLanes(const maps_sPeakPlan& plan, const double* l, const double* inverse,
                        std::size_t first, const double* a0, std::size_t second, const double* a1,
                        double* work, double* variance);
void maps_CopyLanes(const double* isTaken, const double* from, std::size_t vectors, double* to);
/// @}

} // namespace dataprocessing::detail
