#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

#include "dataprocessing/algebra/rcps.h"
#include "dataprocessing/algebra/rcps_kernels.h"
#include "dataprocessing/algebra/rcps_work.h"
#include "dataprocessing/platform/memory.h"

#define LEVEL_KERNELS "dataprocessing/algebra/rcps_kernels.inc"
#include "dataprocessing/platform/level_each.h"

using namespace dataprocessing::detail;

namespace rcps {

namespace {

constexpr int maxSweeps = 30;
constexpr double singularTolerance = 1e-5;
constexpr int leastExponent = -900;
constexpr double smallestNormal = std::numeric_limits<double>::min();

/// 2 to the power of minus the binary exponent of a positive number, for as long as both are
/// normal.
double inverseUnit(double value) {
    return std::ldexp(1.0, -std::clamp(std::ilogb(value), -1000, 1000));
}

inline double hypotenuse(double a, double b) noexcept {
    // A NaN is neither larger nor smaller, and must come out on either side.
    const bool isFirstLarger = std::fabs(a) > std::fabs(b);
    const double larger = std::fabs(isFirstLarger ? a : b);
    const double smaller = std::fabs(isFirstLarger ? b : a);
    if (larger == 0)
        return smaller;
    const double ratio = smaller / larger;
    return larger * std::sqrt(1 + ratio * ratio);
}

/// Where the decomposition under way has its matrices, counted from 0: `a` and `v` row after row,
/// then both column after column, in which rotations of columns find their elements side by side;
/// and some vectors beside them.
class cRoom {
public:
    cRoom(std::size_t m, std::size_t n)
        : step_(rcps_Step(n)), length_(rcps_Step(m)),
          firstOfV_((std::max(m, n) + rcps_group) * step_),
          firstColumn_(firstOfV_ + (n + rcps_group) * step_),
          next_(firstColumn_ + (n + rcps_group) * length_),
          block_((next_ + vectors * (n + rcps_group)) * sizeof(double)) {
        std::fill_n(At(0), firstColumn_, 0.0);
    }

    rcps_sRows A() noexcept { return {At(0), step_}; }
    std::size_t SizeOfA() const noexcept { return firstOfV_; }
    rcps_sRows V() noexcept { return {At(firstOfV_), step_}; }
    rcps_sRows ColumnsOfA() noexcept { return {At(firstColumn_), length_}; }
    /// Where `a` was.
    rcps_sRows ColumnsOfV() noexcept { return A(); }

    /// `count` zeros, with room behind them.
    double* Zeros(std::size_t count) noexcept {
        double* const zeros = At(next_);
        next_ += count + rcps_group;
        std::fill_n(zeros, count + rcps_group, 0.0);
        return zeros;
    }

private:
    static constexpr std::size_t vectors = 9; // five of numbers, two of rotations

    double* At(std::size_t element) noexcept {
        return static_cast<double*>(block_.Data()) + element;
    }

    std::size_t step_;
    std::size_t length_;
    std::size_t firstOfV_;
    std::size_t firstColumn_;
    std::size_t next_;
    mem_cBlock block_;
};

/// The decomposition under way, counted from 0. `super` holds the superdiagonal: super[i] stands
/// above w[i], and super[0] is 0. A value is negligible when adding it to the norm changes nothing.
///
/// Reflectors are kept near 1, with the head that the reflected column or row then has: what is
/// left of a matrix that lacks rank shrinks by an epsilon with every column, and vectors of that
/// size would lose their digits. A remainder below the normal numbers counts as zero.
class cDecomposition {
public:
    cDecomposition(int m, int n, double* w)
        : m_(m), n_(n), w_(w), room_(Count(m), Count(n)), a_(room_.A()), v_(room_.V()),
          columnsOfA_(room_.ColumnsOfA()), columnsOfV_(room_.ColumnsOfV()), super_(Zeros()),
          columnHead_(Zeros()), rowHead_(Zeros()), sums_(Zeros()), factors_(Zeros()),
          turnsOfA_(Turns()), turnsOfV_(Turns()) {}

    /// From rows addressed from 1 to rows addressed from 1, `a` becoming U.
    void Run(double** a, double** v) {
        for (int i = 0; i < m_; ++i)
            std::copy_n(a[i + 1] + 1, n_, Row(a_, i));
        const int exponent = SafeExponent();
        Rescale(-exponent);
        Bidiagonalise();
        unit_ = inverseUnit(norm_);
        AccumulateRight();
        AccumulateLeft();
        LEVEL_SELECT(rcps_Transpose)(columnsOfA_, a_, Count(m_), Count(n_));
        LEVEL_SELECT(rcps_Transpose)(columnsOfV_, v_, Count(n_), Count(n_));
        for (int k = n_ - 1; k >= 0; --k)
            Diagonalise(k);
        for (int k = 0; k < n_ && exponent != 0; ++k)
            w_[k] = std::ldexp(w_[k], exponent);
        LEVEL_SELECT(rcps_TransposeTo)(a, columnsOfA_, Count(n_), Count(m_));
        LEVEL_SELECT(rcps_TransposeTo)(v, columnsOfV_, Count(n_), Count(n_));
    }

private:
    double* Zeros() noexcept { return room_.Zeros(Count(n_)); }
    rcps_sRotation* Turns() noexcept {
        void* const room = room_.Zeros(2 * Count(n_));
        rcps_sRotation* const turns = static_cast<rcps_sRotation*>(room);
        std::uninitialized_value_construct_n(turns, n_);
        return turns;
    }

    static std::size_t Count(int count) noexcept { return static_cast<std::size_t>(count); }
    static double* Row(rcps_sRows rows, int i) noexcept { return rows.Row(Count(i)); }
    double& A(int i, int j) noexcept { return Row(a_, i)[j]; }

    /// The power of two by which the matrix has to be divided: 0 unless it is so small that what
    /// is left of it would be below the normal numbers, or so large that its norm may overflow.
    int SafeExponent() {
        const double largest = LEVEL_SELECT(rcps_Largest)(a_.elements, room_.SizeOfA());
        if (largest == 0 || !std::isfinite(largest))
            return 0;
        const int exponent = std::ilogb(largest);
        if (exponent < leastExponent)
            return exponent;
        const int room = std::ilogb(m_) + std::ilogb(n_) + 4;
        return std::max(0, exponent + room - std::numeric_limits<double>::max_exponent);
    }

    void Rescale(int exponent) {
        for (int i = 0; i < m_ && exponent != 0; ++i)
            for (int j = 0; j < n_; ++j)
                A(i, j) = std::ldexp(A(i, j), exponent);
    }

    bool IsNegligible(double value) const { return std::fabs(value) + norm_ == norm_; }

    /// The element that is left of a reflected vector, and what brings its reflector near 1; both
    /// are 0 where there is none.
    struct sReflected {
        double element = 0;
        double unit = 0;
    };

    /// The head of a reflected vector: opposite in sign to the old head, so that nothing cancels.
    static double ReflectedHead(double squares, double head) {
        return -std::copysign(std::sqrt(squares), head);
    }

    /// The reflector of column i is left in columnsOfA_, that of row i in the row itself.
    void Bidiagonalise() {
        double magnitudes = 0; // the sum of those of the column that comes next
        for (int k = 0; k < m_; ++k) {
            columnsOfA_.elements[k] = A(k, 0);
            magnitudes += std::fabs(A(k, 0));
        }
        for (int i = 0; i < n_; ++i) {
            const int next = i + 1;
            w_[i] = 0;
            if (i < m_) {
                rcps_sReflection by;
                const sReflected column = ReflectColumn(i, magnitudes, by);
                w_[i] = column.element;
                if (next < n_) {
                    const sReflected row = ReflectRow(i, by);
                    super_[next] = row.element;
                    magnitudes = LEVEL_SELECT(rcps_ReflectRows)(
                        a_.From(Count(next), Count(next)), by, Count(m_ - next), Count(n_ - next),
                        Row(columnsOfA_, next) + next);
                    Multiply(Row(a_, i), next, n_, row.unit);
                }
                Multiply(Row(columnsOfA_, i), i, m_, column.unit);
            }
            norm_ = std::max(norm_, std::fabs(w_[i]) + std::fabs(super_[i]));
        }
    }

    static void Multiply(double* elements, int first, int end, double unit) {
        for (int k = first; k < end && unit != 0; ++k)
            elements[k] *= unit;
    }

    /// Makes column i, whose magnitudes have this sum, its reflector, and reflects row i by it;
    /// the rows below are left to be reflected.
    sReflected ReflectColumn(int i, double scale, rcps_sReflection& by) {
        if (scale < smallestNormal)
            return {};
        double* const column = Row(columnsOfA_, i);
        double squares = 0;
        for (int k = i; k < m_; ++k) {
            column[k] /= scale;
            squares += column[k] * column[k];
        }
        const double head = column[i];
        const double reflected = ReflectedHead(squares, head);
        const double h = head * reflected - squares;
        column[i] = head - reflected;
        const int next = i + 1;
        LEVEL_SELECT(rcps_SumRows)
        (a_.From(Count(i), Count(next)), column + i, Count(m_ - i), Count(n_ - next), sums_ + next);
        double* const row = Row(a_, i);
        for (int j = next; j < n_; ++j) {
            sums_[j] /= h;
            row[j] += sums_[j] * column[i];
        }
        by.column = column + next;
        by.sums = sums_ + next;
        const double unit = scale * inverseUnit(scale);
        columnHead_[i] = unit * reflected;
        return {scale * reflected, unit};
    }

    /// Makes row i, right of the diagonal, its reflector; the rows below are left to be reflected.
    sReflected ReflectRow(int i, rcps_sReflection& by) {
        double* const row = Row(a_, i);
        const int next = i + 1;
        double scale = 0;
        for (int k = next; k < n_; ++k)
            scale += std::fabs(row[k]);
        if (scale < smallestNormal)
            return {};
        double squares = 0;
        for (int k = next; k < n_; ++k) {
            row[k] /= scale;
            squares += row[k] * row[k];
        }
        const double head = row[next];
        const double reflected = ReflectedHead(squares, head);
        const double h = head * reflected - squares;
        row[next] = head - reflected;
        for (int k = next; k < n_; ++k)
            factors_[k] = row[k] / h;
        by.row = row + next;
        by.factors = factors_ + next;
        const double unit = scale * inverseUnit(scale);
        rowHead_[next] = unit * reflected;
        return {scale * reflected, unit};
    }

    /// `v` begins as zeros.
    void AccumulateRight() {
        for (int i = n_ - 1; i >= 0; --i) {
            const int next = i + 1;
            Row(v_, i)[i] = 1;
            if (next == n_ || rowHead_[next] == 0)
                continue;
            const double* const row = Row(a_, i);
            for (int j = next; j < n_; ++j)
                factors_[j] = row[j] / row[next] / rowHead_[next];
            const rcps_sRows inner = v_.From(Count(next), Count(next));
            const std::size_t count = Count(n_ - next);
            LEVEL_SELECT(rcps_SumRows)(inner, row + next, count, count, sums_ + next);
            LEVEL_SELECT(rcps_AddToRows)(inner, factors_ + next, count, count, sums_ + next);
        }
    }

    /// Where a column is under way, the sums of those right of it have been made by the one before.
    void AccumulateLeft() {
        std::fill_n(sums_, n_, 0.0);
        for (int i = std::min(m_, n_) - 1; i >= 0; --i) {
            double* const row = Row(a_, i);
            std::fill(row + i + 1, row + n_, 0.0);
            const double* const column = Row(columnsOfA_, i);
            const double head = columnHead_[i];
            for (int j = i + 1; j < n_; ++j)
                sums_[j] = sums_[j] / column[i] / head;
            for (int k = i; k < m_; ++k)
                A(k, i) = head != 0 ? column[k] / head : 0;
            row[i] += 1;
            // Of the sign that makes every product one that leaves the column as it is.
            sums_[i] = std::copysign(0.0, head);
            const std::size_t rows = Count(m_ - i);
            const std::size_t columns = Count(n_ - i);
            const rcps_sRows inner = a_.From(Count(i), Count(i));
            const double* const before = i > 0 ? Row(columnsOfA_, i - 1) + i : nullptr;
            if (head == 0 && i > 0)
                LEVEL_SELECT(rcps_SumRows)(inner, before, rows, columns, sums_ + i);
            else if (i > 0)
                LEVEL_SELECT(rcps_CarrySums)
            (inner, column + i, before, rows, columns, sums_ + i);
            else if (head != 0)
                LEVEL_SELECT(rcps_AddToRows)(inner, column + i, rows, columns, sums_ + i);
        }
    }

    /// Brings singular value k to convergence, or as far as the sweeps allow.
    void Diagonalise(int k) {
        for (int sweep = 1; sweep <= maxSweeps; ++sweep) {
            const int l = SplitFrom(k);
            if (l == k) {
                MakePositive(k);
                return;
            }
            if (sweep == maxSweeps)
                nrerror("no convergence in 30 svdcmp iterations");
            Sweep(l, k);
        }
    }

    /// The first row of the block that ends with row k and has no negligible superdiagonal element.
    int SplitFrom(int k) {
        for (int l = k; l > 0; --l) {
            if (IsNegligible(super_[l]))
                return l;
            if (IsNegligible(w_[l - 1])) {
                Cancel(l, k);
                return l;
            }
        }
        return 0;
    }

    /// Rotates super[l] away, where w[l - 1] is negligible.
    void Cancel(int l, int k) {
        double cosine = 0;
        double sine = 1;
        for (int i = l; i <= k; ++i) {
            const double f = sine * super_[i];
            super_[i] = cosine * super_[i];
            if (IsNegligible(f))
                return;
            const double g = w_[i];
            const double h = hypotenuse(f, g);
            w_[i] = h;
            cosine = g / h;
            sine = -f / h;
            const rcps_sRotation turn{cosine, sine};
            const rcps_sRows both{Row(columnsOfA_, l - 1), columnsOfA_.step * Count(i - l + 1)};
            LEVEL_SELECT(rcps_RotateRows)(both, &turn, 1, Count(m_));
        }
    }

    void MakePositive(int k) {
        if (!(w_[k] < 0))
            return;
        w_[k] = -w_[k];
        double* const column = Row(columnsOfV_, k);
        for (int j = 0; j < n_; ++j)
            column[j] = -column[j];
    }

    /// One implicit QR sweep over rows l to k, shifted by the lower 2 x 2 minor.
    void Sweep(int l, int k) {
        double f = Shifted(l, k);
        double unit = unit_; // of f, which its first partner has to have, too
        double x = w_[l];
        double cosine = 1;
        double sine = 1;
        for (int j = l; j < k; ++j) {
            const int i = j + 1;
            double g = cosine * super_[i];
            double h = sine * super_[i];
            double y = w_[i];

            double length = hypotenuse(f, unit * h);
            super_[j] = length;
            cosine = f / length;
            sine = unit * h / length;
            unit = 1;
            f = x * cosine + g * sine;
            g = g * cosine - x * sine;
            h = y * sine;
            y *= cosine;
            turnsOfV_[j] = {cosine, sine};

            length = hypotenuse(f, h);
            w_[j] = length;
            if (length != 0) {
                cosine = f / length;
                sine = h / length;
            }
            f = cosine * g + sine * y;
            x = cosine * y - sine * g;
            turnsOfA_[j] = {cosine, sine};
        }
        super_[l] = 0;
        super_[k] = f;
        w_[k] = x;
        const auto rotate = LEVEL_SELECT(rcps_RotateRows);
        rotate(columnsOfV_.From(Count(l), 0), turnsOfV_ + l, Count(k - l), Count(n_));
        rotate(columnsOfA_.From(Count(l), 0), turnsOfA_ + l, Count(k - l), Count(m_));
    }

    /// The first element of the shifted matrix that a sweep over rows l to k begins with, times
    /// unit_.
    double Shifted(int l, int k) {
        const double x = unit_ * w_[l];
        const double y = unit_ * w_[k - 1];
        const double z = unit_ * w_[k];
        const double g = unit_ * super_[k - 1];
        const double h = unit_ * super_[k];
        const double f = ((y - z) * (y + z) + (g - h) * (g + h)) / (2 * h * y);
        const double root = std::copysign(hypotenuse(f, 1), f);
        return ((x - z) * (x + z) + h * (y / (f + root) - h)) / x;
    }

    int m_;
    int n_;
    double* w_;
    cRoom room_;
    rcps_sRows a_;
    rcps_sRows v_;
    rcps_sRows columnsOfA_;
    rcps_sRows columnsOfV_;
    double* super_;
    double* columnHead_;       // of the reflector of each column; 0 where there is none
    double* rowHead_;          // of that of the row above each element of super_
    double* sums_;             // one for each column, for whatever step is under way
    double* factors_;          // the same
    rcps_sRotation* turnsOfA_; // of a sweep: number j turns columns j and j + 1
    rcps_sRotation* turnsOfV_;
    double norm_ = 0;
    double unit_ = 1; // a power of two that brings the norm near 1, where squares are safe
};

} // namespace

double pythag(double a, double b) noexcept { return hypotenuse(a, b); }

void svdcmp(double** a, int m, int n, double* w, double** v) {
    cDecomposition(m, n, w + 1).Run(a, v);
}

void svbksb(double** u, const double* w, double** v, int m, int n, const double* b, double* x) {
    cVector<double> projected(n);
    double* const sums = projected.Data();
    for (int i = 1; i <= m; ++i) {
        const double* const row = u[i];
        const double factor = b[i];
        for (int j = 1; j <= n; ++j)
            sums[j] += row[j] * factor;
    }
    for (int j = 1; j <= n; ++j)
        projected[j] = w[j] != 0 ? projected[j] / w[j] : 0;
    for (int j = 1; j <= n; ++j) {
        double sum = 0;
        for (int k = 1; k <= n; ++k)
            sum += v[j][k] * projected[k];
        x[j] = sum;
    }
}

void svdfit(const double*, const double* y, const double* sig, int ndata, double* a, int ma,
            double** u, double** v, double* w, double* chisq, double** basis) {
    cVector<double> b(ndata);
    for (int i = 1; i <= ndata; ++i) {
        const double weight = 1.0 / sig[i];
        for (int j = 1; j <= ma; ++j)
            u[i][j] = basis[i][j] * weight;
        b[i] = y[i] * weight;
    }
    svdcmp(u, ndata, ma, w, v);
    const double threshold = singularTolerance * *std::max_element(w + 1, w + ma + 1);
    for (int j = 1; j <= ma; ++j)
        if (w[j] < threshold)
            w[j] = 0;
    svbksb(u, w, v, ndata, ma, b.Data(), a);

    *chisq = 0;
    for (int i = 1; i <= ndata; ++i) {
        double model = 0;
        for (int j = 1; j <= ma; ++j)
            model += a[j] * basis[i][j];
        const double residual = (y[i] - model) / sig[i];
        *chisq += residual * residual;
    }
}

void svdvar(double** v, int ma, const double* w, double** cvm) {
    cVector<double> weight(ma);
    for (int i = 1; i <= ma; ++i)
        weight[i] = w[i] != 0 ? 1.0 / (w[i] * w[i]) : 0;
    for (int i = 1; i <= ma; ++i)
        for (int j = 1; j <= i; ++j) {
            double sum = 0;
            for (int k = 1; k <= ma; ++k)
                sum += v[i][k] * v[j][k] * weight[k];
            cvm[i][j] = cvm[j][i] = sum;
        }
}

} // namespace rcps
