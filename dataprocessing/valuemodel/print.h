#pragma once

/// @file
/// How arrays are printed: long ones by their ends.

#include <ostream>

namespace dataprocessing::detail {

/// Up to this many elements of a row, and rows of an array, are printed from each end.
inline constexpr int print_end = 4;

/// Prints "[a, b, c]"; `element(i)` prints one.
template<class Element>
void print_Row(std::ostream& stream, int size, const Element& element) {
    stream << '[';
    for (int i = 0; i < size; ++i) {
        if (i > 0)
            stream << ", ";
        if (i == print_end && size > 2 * print_end) {
            stream << "..., ";
            i = size - print_end;
        }
        element(i);
    }
    stream << ']';
}

/// Prints a line per row; `row(y)` prints one.
template<class Row>
void print_Rows(std::ostream& stream, int rows, const Row& row) {
    for (int y = 0; y < rows; ++y) {
        if (y > 0)
            stream << '\n';
        if (y == print_end && rows > 2 * print_end) {
            stream << "...\n";
            y = rows - print_end;
        }
        row(y);
    }
}

} // namespace dataprocessing::detail
