#pragma once

/// @file
/// Where the parameters of a part of a model begin.

#include <algorithm>

namespace dataprocessing::detail {

/// Of parts in the order of their first parameters, the one that begins with parameter number
/// `first`; `end` where none does. Looks at few of them: models may have very many.
template<class Iterator>
Iterator pkmd_PartAt(Iterator begin, Iterator end, int first) {
    const Iterator found = std::lower_bound(
        begin, end, first, [](const auto& part, int number) { return part.first < number; });
    return found != end && !(first < found->first) ? found : end;
}

} // namespace dataprocessing::detail
