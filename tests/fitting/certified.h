#pragma once

/// Regressions whose results are known to many digits.

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

/// Rows of numbers, the last of each being the observation, and the coefficients they lead to.
struct Regression {
    std::vector<std::vector<double>> rows;
    std::vector<double> coefficients;
};

/// A certified problem from the measured data beside the project; nothing where that is missing.
inline std::optional<Regression> certified(const std::string& name) {
    std::ifstream file(std::filesystem::path(__FILE__).parent_path() /
                       ("../../../shared/data/nist/" + name + ".csv"));
    if (!file)
        return std::nullopt;
    Regression result;
    for (std::string line; std::getline(file, line);) {
        const bool isCertified = line.starts_with("# certified c");
        if (isCertified)
            line.erase(0, line.find('=') + 1);
        else if (line.empty() || line[0] == '#' ||
                 std::isalpha(static_cast<unsigned char>(line[0])))
            continue;
        std::replace(line.begin(), line.end(), ',', ' ');
        std::istringstream numbers(line);
        const std::vector<double> row{std::istream_iterator<double>(numbers), {}};
        if (isCertified)
            result.coefficients = row;
        else
            result.rows.push_back(row);
    }
    return result;
}

/// How many decimal digits of all coefficients are right; 16 when every bit is.
inline double digits(const std::vector<double>& coefficients, const std::vector<double>& expected) {
    double fewest = 16;
    for (std::size_t j = 0; j < expected.size(); ++j) {
        const double error = std::fabs(coefficients[j] - expected[j]);
        if (!(error == 0))
            fewest = std::min(fewest, -std::log10(error / std::fabs(expected[j])));
    }
    return fewest;
}

inline void printDigits(const std::string& solver, const std::string& name, double digits) {
    std::cout << "[  digits  ] " << solver << ", " << name << ": " << digits << '\n';
}

/// Polynomials of order 5 in x = 0, 1, ... 20. The observations of numbers 1 and 2 lie on them;
/// those of the others are `strength` times further away, in a pattern that no such polynomial
/// follows.
inline Regression wampler(int number) {
    const double base = number == 2 ? 0.1 : 1;
    const double strength = number < 3 ? 0 : std::pow(100.0, number - 3);
    constexpr double pattern[] = {759,   -2048, 2048,  -2048, 2523,  -2048, 2048,
                                  -2048, 1838,  -2048, 2048,  -2048, 1838,  -2048,
                                  2048,  -2048, 2523,  -2048, 2048,  -2048, 759};
    Regression result;
    for (int j = 0; j <= 5; ++j)
        result.coefficients.push_back(number == 2 ? std::pow(10.0, -j) : 1.0);
    for (int x = 0; x <= 20; ++x) {
        long double y = 0;
        for (int j = 5; j >= 0; --j)
            y = y * static_cast<long double>(x) * (base < 1 ? 0.1L : 1.0L) + 1;
        result.rows.push_back(
            {static_cast<double>(x), static_cast<double>(y) + strength * pattern[x]});
    }
    return result;
}
