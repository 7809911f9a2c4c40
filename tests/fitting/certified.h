#pragma once

/// Regressions whose results are known to many digits.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/fitting/certified_tables.h"

/// Rows of numbers, the last of each being the observation, and what they lead to.
struct Regression {
    std::vector<std::vector<double>> rows;
    std::vector<double> coefficients;
    std::vector<double> deviations; // of the coefficients
    double residualDeviation = 0;
};

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
    for (const double deviation : {2152.32624678170, 2363.55173469681, 779.343524331583,
                                   101.475507550350, 5.64566512170752, 0.112324854679312})
        result.deviations.push_back(strength * deviation);
    result.residualDeviation = strength * 2360.14502379268;
    return result;
}

/// The certified problem of this name. Coefficients begin with that of the lowest power; those of
/// Longley are of a constant and of the columns.
inline Regression certified(const std::string& name) {
    if (name == "Norris")
        return {tables::norris,
                {-0.262323073774029, 1.00211681802045},
                {0.232818234301152, 0.429796848199937e-3},
                0.884796396144373};
    if (name == "Pontius")
        return {tables::pontius,
                {0.673565789473684e-3, 0.732059160401003e-6, -0.316081871345029e-14},
                {0.107938612033077e-3, 0.157817399981659e-9, 0.486652849992036e-16},
                0.205177424076185e-3};
    if (name == "Filip")
        return {tables::filip,
                {-1467.48961422980, -2772.17959193342, -2316.37108160893, -1127.97394098372,
                 -354.478233703349, -75.1242017393757, -10.8753180355343, -1.06221498588947,
                 -0.670191154593408e-1, -0.246781078275479e-2, -0.402962525080404e-4},
                {298.084530995537, 559.779865474950, 466.477572127796, 227.204274477751,
                 71.6478660875927, 15.2897178747400, 2.23691159816033, 0.221624321934227,
                 0.142363763154724e-1, 0.535617408889821e-3, 0.896632837373868e-5},
                0.334801051324544e-2};
    if (name == "Longley") {
        Regression result{
            {},
            {-3482258.63459582, 15.0618722713733, -0.358191792925910e-1, -2.02022980381683,
             -1.03322686717359, -0.511041056535807e-1, 1829.15146461355},
            {890420.383607373, 84.9149257747669, 0.334910077722432e-1, 0.488399681651699,
             0.214274163161675, 0.226073200069370, 455.478499142212},
            304.854073561965};
        for (std::vector<double> row : tables::longley) {
            row.insert(row.begin(), 1);
            result.rows.push_back(std::move(row));
        }
        return result;
    }
    Regression line;
    if (name == "NoInt1") {
        for (int i = 0; i <= 10; ++i)
            line.rows.push_back({60.0 + i, 130.0 + i});
        line.coefficients = {2.07438016528926};
        line.deviations = {0.165289256198347e-1};
        line.residualDeviation = 3.56753034006338;
        return line;
    }
    if (name == "NoInt2")
        return {{{4, 3}, {5, 4}, {6, 4}},
                {0.727272727272727},
                {0.420827318078432e-1},
                0.369274472937998};
    if (name.starts_with("Wampler"))
        return wampler(name.back() - '0');
    throw std::invalid_argument(name);
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
