#include "dataprocessing/maps/maps_normal.h"

#include <algorithm>
#include <cmath>

namespace dataprocessing::detail {

namespace {

// What an unknown may be.
constexpr double loose = 0;
constexpr double held = 1;

} // namespace

void maps_cNormal::HoldNone() noexcept { std::fill_n(held_, count_, loose); }

bool maps_cNormal::Factor() noexcept {
    // What is left of a diagonal element tells how much the others explain of that column.
    constexpr double least = 1e-14;
    for (std::size_t i = 0; i < count_; ++i) {
        double* const row = l_ + i * count_;
        double pivot = h_[i * count_ + i];
        for (std::size_t j = 0; j < i; ++j) {
            const double* const other = l_ + j * count_;
            double sum = h_[i * count_ + j];
            for (std::size_t k = 0; k < j; ++k)
                sum -= row[k] * other[k];
            row[j] = held_[i] != 0 ? 0 : sum * other[j];
            pivot -= row[j] * row[j];
        }
        if (held_[i] != 0)
            row[i] = 0;
        else if (pivot > least * h_[i * count_ + i])
            row[i] = 1 / std::sqrt(pivot);
        else
            return false;
    }
    return true;
}

bool maps_cNormal::Solve() noexcept {
    if (!Factor())
        return false;
    for (std::size_t i = 0; i < count_; ++i) {
        double sum = g_[i];
        for (std::size_t k = 0; k < i; ++k)
            sum -= l_[i * count_ + k] * x_[k];
        x_[i] = sum * l_[i * count_ + i];
    }
    for (std::size_t i = count_; i-- > 0;) {
        x_[i] *= l_[i * count_ + i];
        for (std::size_t k = 0; k < i; ++k)
            x_[k] -= l_[i * count_ + k] * x_[i];
    }
    return std::all_of(x_, x_ + count_, [](double x) { return std::isfinite(x); });
}

bool maps_cNormal::SolveNonNegative(std::span<const char> isNonNegative) noexcept {
    HoldNone();
    if (!Solve())
        return false;
    double* const at = column_; // where the search stands
    const auto isBelow = [&](std::size_t i) { return isNonNegative[i] != 0 && x_[i] < 0; };
    bool isBounded = false;
    for (std::size_t i = 0; i < count_; ++i) {
        isBounded = isBounded || isBelow(i);
        held_[i] = isBelow(i) ? held : loose;
        at[i] = held_[i] != loose ? 0 : x_[i];
    }
    if (!isBounded)
        return true;
    for (std::size_t attempts = 10 * count_; attempts > 0; --attempts) {
        if (!Solve())
            return false;
        // As far as all stay above 0.
        double part = 1;
        bool isStopped = false;
        for (std::size_t i = 0; i < count_; ++i)
            if (isBelow(i)) {
                part = std::min(part, at[i] / (at[i] - x_[i]));
                isStopped = true;
            }
        if (isStopped) {
            for (std::size_t i = 0; i < count_; ++i) {
                const bool isAtBound = isBelow(i) && at[i] / (at[i] - x_[i]) <= part;
                at[i] = isAtBound ? 0 : at[i] + part * (x_[i] - at[i]);
                if (isAtBound)
                    held_[i] = held;
            }
            continue;
        }
        std::copy_n(x_, count_, at);
        const std::size_t released = Steepest();
        if (released == count_)
            return true;
        held_[released] = loose;
    }
    return false;
}

std::size_t maps_cNormal::Steepest() const noexcept {
    // One whose slope is nothing but rounding would be held again at once, and so on.
    constexpr double rounding = 1e-13;
    double size = 0;
    for (std::size_t j = 0; j < count_; ++j)
        size += std::sqrt(h_[j * count_ + j]) * std::fabs(x_[j]);
    std::size_t best = count_;
    double steepest = 0;
    for (std::size_t i = 0; i < count_; ++i) {
        if (held_[i] != held)
            continue;
        double slope = g_[i];
        for (std::size_t j = 0; j < count_; ++j)
            slope -= h_[std::max(i, j) * count_ + std::min(i, j)] * x_[j];
        const double unit = std::sqrt(h_[i * count_ + i]);
        if (slope / unit > std::max(steepest, rounding * (size + std::fabs(g_[i]) / unit))) {
            steepest = slope / unit;
            best = i;
        }
    }
    return best;
}

double maps_cNormal::Variance(std::size_t i) noexcept {
    if (held_[i] != 0)
        return 0;
    double sum = 0;
    for (std::size_t r = i; r < count_; ++r) {
        double element = r == i ? 1 : 0;
        for (std::size_t k = i; k < r; ++k)
            element -= l_[r * count_ + k] * column_[k];
        column_[r] = element * l_[r * count_ + r];
        sum += column_[r] * column_[r];
    }
    return sum;
}

void maps_cNormal::InverseRow(std::size_t i, std::span<double> row) noexcept {
    Variance(i);
    std::fill(row.begin(), row.end(), 0.0);
    if (held_[i] != 0)
        return;
    for (std::size_t r = count_; r-- > 0;) {
        row[r] = (row[r] + (r >= i ? column_[r] : 0)) * l_[r * count_ + r];
        for (std::size_t k = 0; k < r; ++k)
            row[k] -= l_[r * count_ + k] * row[r];
    }
}

} // namespace dataprocessing::detail
