#include "tests/fuzz/values.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>

using oracle::Axis;
using oracle::Value;

Axis nextAxis(cInput& input, int count) {
    switch (input.Below(4)) {
    case 0:
        return {0, 1, 0, count};
    case 1:
        return {input.Number(), input.Number(), input.Index(), count};
    default:
        // Fine and coarse grids that meet each other often.
        return {input.Next<std::int8_t>() / 8.0, (input.Below(16) + 1) / 8.0,
                input.Next<std::int8_t>(), count};
    }
}

cal_c1DArrayCal nextCal(cInput& input) {
    const oracle::Axis axis = nextAxis(input, 1);
    return {axis.offset, axis.delta, axis.index};
}

Value nextValue(cInput& input, int dimensions) {
    Value value;
    value.type = input.Below(10) + 1;
    value.dimensions = dimensions;
    if (dimensions > 0)
        value.x = nextAxis(input, input.Below(dimensions == 1 ? 41 : 12));
    if (dimensions > 1)
        value.y = nextAxis(input, input.Below(12));
    value.elements.resize(static_cast<std::size_t>(value.count()));
    // Further elements repeat the first few, so that a short input fills an array.
    const std::size_t own = static_cast<std::size_t>(input.Below(16)) + 1;
    for (std::size_t i = 0; i < value.elements.size(); ++i)
        value.elements[i] = i < own
                                ? oracle::converted({input.Number(), input.Number()}, value.type)
                                : value.elements[i - own];
    return value;
}

void requireNone(const std::string& difference, const std::string& what) {
    if (difference.empty())
        return;
    std::fprintf(stderr, "%s: %s\n", what.c_str(), difference.c_str());
    std::abort();
}
