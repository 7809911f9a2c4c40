#pragma once

/// What tests of linear algebra compute with: a plain matrix, and singular values by a method that
/// has nothing to do with the library's.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

/// An m x n matrix, counted from 0.
struct Dense {
    int m = 0;
    int n = 0;
    std::vector<double> elements =
        std::vector<double>(static_cast<std::size_t>(m) * static_cast<std::size_t>(n));

    double& at(int i, int j) { return elements[static_cast<std::size_t>(i * n + j)]; }
    double at(int i, int j) const { return elements[static_cast<std::size_t>(i * n + j)]; }
};

template<class Element>
Dense dense(int m, int n, const Element& element) {
    Dense a{m, n};
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j)
            a.at(i, j) = element(i, j);
    return a;
}

/// The n singular values in falling order: columns are rotated against each other, in extended
/// precision, until all are orthogonal; their lengths are what is asked for.
inline std::vector<long double> singularValues(const Dense& a) {
    const auto m = static_cast<std::size_t>(a.m);
    const auto n = static_cast<std::size_t>(a.n);
    std::vector<std::vector<long double>> column(n, std::vector<long double>(m));
    for (std::size_t j = 0; j < n; ++j)
        for (std::size_t i = 0; i < m; ++i)
            column[j][i] = a.elements[i * n + j];
    const auto dot = [&](std::size_t p, std::size_t q) {
        long double sum = 0;
        for (std::size_t i = 0; i < m; ++i)
            sum += column[p][i] * column[q][i];
        return sum;
    };
    for (int round = 0; round < 60; ++round) {
        bool isOrthogonal = true;
        for (std::size_t p = 0; p < n; ++p)
            for (std::size_t q = p + 1; q < n; ++q) {
                const long double pp = dot(p, p);
                const long double qq = dot(q, q);
                const long double pq = dot(p, q);
                if (std::fabs(pq) <= 1e-18L * std::sqrt(pp) * std::sqrt(qq))
                    continue;
                isOrthogonal = false;
                const long double angle = 0.5L * std::atan2(2 * pq, pp - qq);
                const long double c = std::cos(angle);
                const long double s = std::sin(angle);
                for (std::size_t i = 0; i < m; ++i) {
                    const long double x = column[p][i];
                    const long double y = column[q][i];
                    column[p][i] = c * x + s * y;
                    column[q][i] = c * y - s * x;
                }
            }
        if (isOrthogonal)
            break;
    }
    std::vector<long double> values(n);
    for (std::size_t j = 0; j < n; ++j)
        values[j] = std::sqrt(dot(j, j));
    std::sort(values.rbegin(), values.rend());
    return values;
}
