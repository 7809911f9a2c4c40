#pragma once

// Calibrated arrays made from, and taken apart into, plain vectors.

#include <span>
#include <vector>

#include "dataprocessing/valuemodel/darr.h"

template<class T>
std::vector<T> elementsOf(const parr_cNumberArray& array) {
    const std::span<const T> elements = array.Elements<T>();
    return {elements.begin(), elements.end()};
}

template<class T>
darr_c1DArray lineOf(const std::vector<T>& elements, const cal_c1DArrayCal& cal = {}) {
    return darr_c1DArray(std::span<const T>(elements), cal);
}

template<class T>
darr_c2DArray planeOf(int sizeX, int sizeY, const std::vector<T>& elements,
                      const cal_c2DArrayCal& cal = {}) {
    return darr_c2DArray(sizeX, sizeY, std::span<const T>(elements), cal);
}
