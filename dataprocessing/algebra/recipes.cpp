#include <algorithm>
#include <cmath>
#include <limits>

#include "dataprocessing/algebra/rcps.h"
#include "dataprocessing/algebra/rcps_work.h"

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

/// The decomposition under way. `super` holds the superdiagonal: super[i] stands above w[i], and
/// super[1] is 0. A value is negligible when adding it to the norm changes nothing.
///
/// Reflectors are kept near 1, with the head that the reflected column or row then has: what is
/// left of a matrix that lacks rank shrinks by an epsilon with every column, and vectors of that
/// size would lose their digits. A remainder below the normal numbers counts as zero.
class cDecomposition {
public:
    cDecomposition(double** a, int m, int n, double* w, double** v)
        : a_(a), m_(m), n_(n), w_(w), v_(v), super_(n), columnHead_(n), rowHead_(n), sums_(n) {}

    void Run() {
        const int exponent = SafeExponent();
        Rescale(-exponent);
        Bidiagonalise();
        unit_ = inverseUnit(norm_);
        AccumulateRight();
        AccumulateLeft();
        for (int k = n_; k >= 1; --k)
            Diagonalise(k);
        for (int k = 1; k <= n_ && exponent != 0; ++k)
            w_[k] = std::ldexp(w_[k], exponent);
    }

private:
    /// The power of two by which the matrix has to be divided: 0 unless it is so small that what
    /// is left of it would be below the normal numbers, or so large that its norm may overflow.
    int SafeExponent() const {
        double largest = 0;
        for (int i = 1; i <= m_; ++i)
            for (int j = 1; j <= n_; ++j)
                largest = std::max(largest, std::fabs(a_[i][j]));
        if (largest == 0 || !std::isfinite(largest))
            return 0;
        const int exponent = std::ilogb(largest);
        if (exponent < leastExponent)
            return exponent;
        const int room = std::ilogb(m_) + std::ilogb(n_) + 4;
        return std::max(0, exponent + room - std::numeric_limits<double>::max_exponent);
    }

    void Rescale(int exponent) {
        for (int i = 1; i <= m_ && exponent != 0; ++i)
            for (int j = 1; j <= n_; ++j)
                a_[i][j] = std::ldexp(a_[i][j], exponent);
    }

    bool IsNegligible(double value) const { return std::fabs(value) + norm_ == norm_; }

    void Bidiagonalise() {
        double aboveNext = 0;
        for (int i = 1; i <= n_; ++i) {
            super_[i] = aboveNext;
            w_[i] = i <= m_ ? ReflectColumn(i) : 0;
            aboveNext = i <= m_ && i < n_ ? ReflectRow(i) : 0;
            norm_ = std::max(norm_, std::fabs(w_[i]) + std::fabs(super_[i]));
        }
    }

    /// The head of a reflected vector: opposite in sign to the old head, so that nothing cancels.
    static double ReflectedHead(double squares, double head) {
        return -std::copysign(std::sqrt(squares), head);
    }

    /// Makes column i zero below the diagonal, leaving the reflector in its place; returns the new
    /// diagonal element.
    double ReflectColumn(int i) {
        double scale = 0;
        for (int k = i; k <= m_; ++k)
            scale += std::fabs(a_[k][i]);
        if (scale < smallestNormal)
            return 0;
        double squares = 0;
        for (int k = i; k <= m_; ++k) {
            a_[k][i] /= scale;
            squares += a_[k][i] * a_[k][i];
        }
        const double head = a_[i][i];
        const double reflected = ReflectedHead(squares, head);
        const double h = head * reflected - squares;
        a_[i][i] = head - reflected;
        SumColumns(i, i);
        for (int j = i + 1; j <= n_; ++j)
            sums_[j] /= h;
        AddToColumns(i, i);
        const double nearOne = scale * inverseUnit(scale);
        for (int k = i; k <= m_; ++k)
            a_[k][i] *= nearOne;
        columnHead_[i] = nearOne * reflected;
        return scale * reflected;
    }

    /// Makes row i zero right of the superdiagonal, leaving the reflector in its place; returns the
    /// new superdiagonal element.
    double ReflectRow(int i) {
        double* row = a_[i];
        double scale = 0;
        for (int k = i + 1; k <= n_; ++k)
            scale += std::fabs(row[k]);
        if (scale < smallestNormal)
            return 0;
        double squares = 0;
        for (int k = i + 1; k <= n_; ++k) {
            row[k] /= scale;
            squares += row[k] * row[k];
        }
        const double head = row[i + 1];
        const double reflected = ReflectedHead(squares, head);
        const double h = head * reflected - squares;
        row[i + 1] = head - reflected;
        for (int k = i + 1; k <= n_; ++k)
            sums_[k] = row[k] / h;
        for (int j = i + 1; j <= m_; ++j) {
            double sum = 0;
            for (int k = i + 1; k <= n_; ++k)
                sum += a_[j][k] * row[k];
            for (int k = i + 1; k <= n_; ++k)
                a_[j][k] += sum * sums_[k];
        }
        const double nearOne = scale * inverseUnit(scale);
        for (int k = i + 1; k <= n_; ++k)
            row[k] *= nearOne;
        rowHead_[i + 1] = nearOne * reflected;
        return scale * reflected;
    }

    /// Sets sums[j], for each column j right of i, to its product with column i from row `first`
    /// on. All columns at once, so that memory is read row by row.
    void SumColumns(int i, int first) {
        for (int j = i + 1; j <= n_; ++j)
            sums_[j] = 0;
        for (int k = first; k <= m_; ++k)
            for (int j = i + 1; j <= n_; ++j)
                sums_[j] += a_[k][i] * a_[k][j];
    }

    /// Adds sums[j] times column i to each column j right of it, from row `first` on.
    void AddToColumns(int i, int first) {
        for (int k = first; k <= m_; ++k)
            for (int j = i + 1; j <= n_; ++j)
                a_[k][j] += sums_[j] * a_[k][i];
    }

    void AccumulateRight() {
        for (int i = n_; i >= 1; --i) {
            const int next = i + 1;
            if (i < n_) {
                if (rowHead_[next] != 0) {
                    for (int j = next; j <= n_; ++j)
                        v_[j][i] = a_[i][j] / a_[i][next] / rowHead_[next];
                    for (int j = next; j <= n_; ++j) {
                        double sum = 0;
                        for (int k = next; k <= n_; ++k)
                            sum += a_[i][k] * v_[k][j];
                        for (int k = next; k <= n_; ++k)
                            v_[k][j] += sum * v_[k][i];
                    }
                }
                for (int j = next; j <= n_; ++j)
                    v_[i][j] = v_[j][i] = 0;
            }
            v_[i][i] = 1;
        }
    }

    void AccumulateLeft() {
        for (int i = std::min(m_, n_); i >= 1; --i) {
            for (int j = i + 1; j <= n_; ++j)
                a_[i][j] = 0;
            if (columnHead_[i] != 0) {
                SumColumns(i, i + 1);
                for (int j = i + 1; j <= n_; ++j)
                    sums_[j] = sums_[j] / a_[i][i] / columnHead_[i];
                AddToColumns(i, i);
                for (int j = i; j <= m_; ++j)
                    a_[j][i] /= columnHead_[i];
            } else {
                for (int j = i; j <= m_; ++j)
                    a_[j][i] = 0;
            }
            a_[i][i] += 1;
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
        for (int l = k; l > 1; --l) {
            if (IsNegligible(super_[l]))
                return l;
            if (IsNegligible(w_[l - 1])) {
                Cancel(l, k);
                return l;
            }
        }
        return 1;
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
            const double h = pythag(f, g);
            w_[i] = h;
            cosine = g / h;
            sine = -f / h;
            Rotate(a_, m_, l - 1, i, cosine, sine);
        }
    }

    void MakePositive(int k) {
        if (!(w_[k] < 0))
            return;
        w_[k] = -w_[k];
        for (int j = 1; j <= n_; ++j)
            v_[j][k] = -v_[j][k];
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

            double length = pythag(f, unit * h);
            super_[j] = length;
            cosine = f / length;
            sine = unit * h / length;
            unit = 1;
            f = x * cosine + g * sine;
            g = g * cosine - x * sine;
            h = y * sine;
            y *= cosine;
            Rotate(v_, n_, j, i, cosine, sine);

            length = pythag(f, h);
            w_[j] = length;
            if (length != 0) {
                cosine = f / length;
                sine = h / length;
            }
            f = cosine * g + sine * y;
            x = cosine * y - sine * g;
            Rotate(a_, m_, j, i, cosine, sine);
        }
        super_[l] = 0;
        super_[k] = f;
        w_[k] = x;
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
        const double root = std::copysign(pythag(f, 1), f);
        return ((x - z) * (x + z) + h * (y / (f + root) - h)) / x;
    }

    /// Rotates columns p and q of a matrix.
    static void Rotate(double** matrix, int rows, int p, int q, double cosine, double sine) {
        for (int j = 1; j <= rows; ++j) {
            const double x = matrix[j][p];
            const double z = matrix[j][q];
            matrix[j][p] = x * cosine + z * sine;
            matrix[j][q] = z * cosine - x * sine;
        }
    }

    double** a_;
    int m_;
    int n_;
    double* w_;
    double** v_;
    cVector<double> super_;
    cVector<double> columnHead_; // of the reflector of each column; 0 where there is none
    cVector<double> rowHead_;    // of that of the row above each element of super_
    cVector<double> sums_;       // one for each column, for whatever step is under way
    double norm_ = 0;
    double unit_ = 1; // a power of two that brings the norm near 1, where squares are safe
};

} // namespace

double pythag(double a, double b) noexcept {
    // A NaN is neither larger nor smaller, and must come out on either side.
    const bool isFirstLarger = std::fabs(a) > std::fabs(b);
    const double larger = std::fabs(isFirstLarger ? a : b);
    const double smaller = std::fabs(isFirstLarger ? b : a);
    if (larger == 0)
        return smaller;
    const double ratio = smaller / larger;
    return larger * std::sqrt(1 + ratio * ratio);
}

void svdcmp(double** a, int m, int n, double* w, double** v) {
    cDecomposition(a, m, n, w, v).Run();
}

void svbksb(double** u, const double* w, double** v, int m, int n, const double* b, double* x) {
    cVector<double> projected(n);
    for (int i = 1; i <= m; ++i)
        for (int j = 1; j <= n; ++j)
            projected[j] += u[i][j] * b[i];
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
