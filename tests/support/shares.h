#pragma once

// What tests of averages and of shared contents need.

#include <random>
#include <type_traits>
#include <vector>

#include "tests/support/elements.h"

/// The element type of averages and shares: double in place of integers.
template<class T>
using ResultOf = std::conditional_t<std::is_integral_v<T>, double, T>;

/// Elements from 0 to 120, and their imaginary parts the other way.
template<class T>
std::vector<T> randomElements(int count, std::mt19937& random) {
    std::uniform_real_distribution<double> real(0, 120);
    std::vector<T> elements;
    for (int i = 0; i < count; ++i)
        elements.push_back(elementOf<T>(real(random), -real(random)));
    return elements;
}
