#pragma once

/// @file
/// Stretches of a row of a result, and where they begin.

namespace dataprocessing::detail {

/// The columns [first, last) of the result.
struct warp_sSpan {
    int first;
    int last;
};

/// The first column of the span from which on `holds` is true; before it is false throughout.
template<class Predicate>
int warp_FirstWhere(warp_sSpan span, Predicate holds) {
    while (span.first < span.last) {
        const int middle = span.first + (span.last - span.first) / 2;
        if (holds(middle))
            span.last = middle;
        else
            span.first = middle + 1;
    }
    return span.first;
}

} // namespace dataprocessing::detail
