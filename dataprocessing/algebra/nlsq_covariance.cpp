#include "dataprocessing/algebra/nlsq_covariance.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace dataprocessing::detail {

namespace {

/// A square matrix by columns.
class cColumns {
public:
    explicit cColumns(std::size_t count) : count_(count), elements_(count * count) {}

    std::size_t Count() const noexcept { return count_; }
    std::span<double> operator[](std::size_t j) noexcept {
        return {elements_.data() + j * count_, count_};
    }
    std::span<const double> operator[](std::size_t j) const noexcept {
        return {elements_.data() + j * count_, count_};
    }

private:
    std::size_t count_;
    std::vector<double> elements_;
};

double dot(std::span<const double> a, std::span<const double> b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        sum += a[i] * b[i];
    return sum;
}

/// R with columns of norm 1, and the norms; a column of zeros stays.
struct sScaled {
    sScaled(std::span<const double> triangle, std::size_t count) : columns(count), norms(count) {
        for (std::size_t j = 0; j < count; ++j) {
            for (std::size_t i = 0; i <= j; ++i)
                columns[j][i] = triangle[i * count + j];
            norms[j] = std::sqrt(dot(columns[j], columns[j]));
            if (norms[j] > 0)
                for (double& element : columns[j])
                    element /= norms[j];
            else
                norms[j] = 1;
        }
    }

    cColumns columns;
    std::vector<double> norms;
};

/// A V = U S: the columns of A become U S, by rotations of two columns at a time that make them
/// orthogonal (M. R. Hestenes, Inversion of matrices by biorthogonalization, SIAM Journal 6
/// (1958)).
struct sSingular {
    explicit sSingular(const cColumns& matrix)
        : u(matrix), v(matrix.Count()), values(matrix.Count()) {
        const std::size_t count = matrix.Count();
        for (std::size_t j = 0; j < count; ++j)
            v[j][j] = 1;
        constexpr int mostSweeps = 60;
        bool isChanged = true;
        for (int sweep = 0; isChanged && sweep < mostSweeps; ++sweep) {
            isChanged = false;
            for (std::size_t p = 0; p + 1 < count; ++p)
                for (std::size_t q = p + 1; q < count; ++q)
                    isChanged |= Rotate(p, q);
        }
        for (std::size_t j = 0; j < count; ++j)
            values[j] = std::sqrt(dot(u[j], u[j]));
        largest = count == 0 ? 0 : *std::max_element(values.begin(), values.end());
    }

    cColumns u; // times S
    cColumns v;
    std::vector<double> values;
    double largest = 0;

private:
    bool Rotate(std::size_t p, std::size_t q) {
        const double pp = dot(u[p], u[p]);
        const double qq = dot(u[q], u[q]);
        const double pq = dot(u[p], u[q]);
        if (!(std::fabs(pq) > std::numeric_limits<double>::epsilon() * std::sqrt(pp * qq)))
            return false;
        const double zeta = (qq - pp) / (2 * pq);
        const double t = std::copysign(1.0, zeta) / (std::fabs(zeta) + std::hypot(1.0, zeta));
        const double c = 1 / std::hypot(1.0, t);
        const double s = c * t;
        for (cColumns* matrix : {&u, &v})
            for (std::size_t i = 0; i < matrix->Count(); ++i) {
                const double a = (*matrix)[p][i];
                const double b = (*matrix)[q][i];
                (*matrix)[p][i] = c * a - s * b;
                (*matrix)[q][i] = s * a + c * b;
            }
        return true;
    }
};

/// Sets `inverse` to that of an upper triangle; false when there is none.
bool invert(const cColumns& triangle, cColumns& inverse) {
    for (std::size_t j = 0; j < triangle.Count(); ++j)
        if (triangle[j][j] == 0)
            return false;
    for (std::size_t j = 0; j < triangle.Count(); ++j) {
        double* const x = inverse[j].data();
        x[j] = 1;
        for (std::size_t i = j + 1; i-- > 0;) {
            const double* const column = triangle[i].data();
            x[i] /= column[i];
            for (std::size_t k = 0; k < i; ++k)
                x[k] -= column[k] * x[i];
        }
    }
    return true;
}

double squares(const cColumns& matrix) {
    double sum = 0;
    for (std::size_t j = 0; j < matrix.Count(); ++j)
        sum += dot(matrix[j], matrix[j]);
    return sum;
}

} // namespace

nlsq_sCovariance nlsq_Inverse(std::span<const double> triangle, std::size_t count,
                              std::span<const std::size_t> places, std::size_t all,
                              double tolerance) {
    nlsq_sCovariance result{std::vector<double>(all * all), 0, std::vector<char>(all)};
    const sScaled scaled(triangle, count);
    const auto put = [&](std::size_t i, std::size_t j, double value) {
        value /= scaled.norms[i] * scaled.norms[j];
        result.matrix[places[i] * all + places[j]] = value;
        result.matrix[places[j] * all + places[i]] = value;
    };

    // The inverse of a triangle keeps more digits than singular values do, where it is there.
    cColumns inverse(count);
    const double norm = std::sqrt(static_cast<double>(count));
    if (invert(scaled.columns, inverse) && norm * std::sqrt(squares(inverse)) * tolerance < 1) {
        cColumns product(count);
        for (std::size_t k = 0; k < count; ++k) {
            const double* const column = inverse[k].data();
            for (std::size_t i = 0; i <= k; ++i) {
                double* const row = product[i].data();
                for (std::size_t j = 0; j <= i; ++j)
                    row[j] += column[i] * column[j];
            }
        }
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t j = 0; j <= i; ++j)
                put(i, j, product[i][j]);
        result.rank = static_cast<int>(count);
        return result;
    }

    const sSingular singular(scaled.columns);
    const double least = tolerance * singular.largest;
    std::vector<double> variances(count);
    for (std::size_t i = 0; i < count; ++i)
        for (std::size_t j = 0; j <= i; ++j) {
            double sum = 0;
            for (std::size_t k = 0; k < count; ++k)
                if (singular.values[k] > least)
                    sum += singular.v[k][i] / singular.values[k] *
                           (singular.v[k][j] / singular.values[k]);
            if (i == j)
                variances[i] = sum;
            put(i, j, sum);
        }
    for (std::size_t k = 0; k < count; ++k) {
        if (singular.values[k] > least) {
            ++result.rank;
            continue;
        }
        // What is left out is at least this, beside what is there.
        constexpr double part = 1e-6;
        constexpr double partOfVariance = 1e-4;
        for (std::size_t i = 0; i < count; ++i) {
            const double moved = std::fabs(singular.v[k][i]);
            const double deviation = moved / least;
            if (moved > part || deviation * deviation > partOfVariance * variances[i])
                result.isIncomplete[places[i]] = 1;
        }
    }
    return result;
}

std::vector<double> nlsq_Shortest(std::span<const double> triangle, std::size_t count,
                                  std::span<const double> z, double tolerance) {
    const sScaled scaled(triangle, count);
    const sSingular singular(scaled.columns);
    std::vector<double> x(count);
    for (std::size_t k = 0; k < count; ++k) {
        if (!(singular.values[k] > tolerance * singular.largest))
            continue;
        const double part = dot(singular.u[k], z) / singular.values[k] / singular.values[k];
        for (std::size_t i = 0; i < count; ++i)
            x[i] += part * singular.v[k][i];
    }
    for (std::size_t i = 0; i < count; ++i)
        x[i] /= scaled.norms[i];
    return x;
}

} // namespace dataprocessing::detail
