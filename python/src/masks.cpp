#include "masks.h"

#include <algorithm>
#include <span>

#include "alignment.h"
#include "axis.h"
#include "gil.h"
#include "instances.h"

namespace dataprocessing::python {

namespace py = pybind11;

namespace {

template<class Mask>
std::span<const unsigned char> elementsOf(const Mask& mask) {
    if (mask.Count() == 0)
        return {};
    const auto count = static_cast<std::size_t>(mask.Count());
    if constexpr (Mask::dimensions == 1)
        return {&mask.values.Element(0), count};
    else
        return {&mask.values.Element(0, 0), count};
}

template<class Mask>
std::span<unsigned char> elementsOf(Mask& mask) {
    const std::span<const unsigned char> elements = elementsOf(std::as_const(mask));
    return {const_cast<unsigned char*>(elements.data()), elements.size()};
}

template<class Mask>
void requireSameGrid(const Mask& a, const Mask& b) {
    if (!haveSameGrid(a, b))
        throw py::value_error(
            "masks combine on one grid only; these differ in size, range or delta");
}

template<class Mask, class Operation>
Mask combined(const Mask& a, const Mask& b, Operation operation) {
    requireSameGrid(a, b);
    cLabels axes[Mask::dimensions];
    for (int axis = 0; axis < Mask::dimensions; ++axis)
        axes[axis] = mergedAxis(a.axes[axis], b.axes[axis]);
    const cWithoutGil released(a.Count());
    Mask result = a;
    std::ranges::copy(axes, result.axes);
    const auto to = elementsOf(result);
    std::ranges::transform(elementsOf(a), elementsOf(b), to.begin(),
                           [&](unsigned char x, unsigned char y) {
                               return static_cast<unsigned char>(operation(x != 0, y != 0));
                           });
    return result;
}

template<class Mask>
void define() {
    const py::handle type(reinterpret_cast<PyObject*>(typeOf<Mask>));
    auto bound = py::reinterpret_borrow<py::class_<Mask>>(type);
    bound
        .def(
            "count", [](const Mask& mask) { return countOf(mask); }, R"(The number of true elements.

    >>> import dataprocessing as dp
    >>> (dp.Array1D([1, 5, 2]) > 1).count()
    2
)")
        .def(
            "is_range_and_delta",
            [](const Mask& a, const Mask& b) {
                return static_cast<bool>(a.values.IsRangeAndDelta(b.values));
            },
            py::arg("other"),
            R"(Whether both masks lie on one grid: of the same shape, range and delta.

Names and units play no part. TypeError for what is no mask of these dimensions.

    >>> import dataprocessing as dp
    >>> a = dp.Array1D([1, 5])
    >>> (a > 1).is_range_and_delta(a < 1)
    True
)");
}

} // namespace

template<class Mask>
Mask both(const Mask& a, const Mask& b) {
    return combined(a, b, [](bool x, bool y) { return x && y; });
}
template<class Mask>
Mask any(const Mask& a, const Mask& b) {
    return combined(a, b, [](bool x, bool y) { return x || y; });
}
template<class Mask>
Mask oneOf(const Mask& a, const Mask& b) {
    return combined(a, b, [](bool x, bool y) { return x != y; });
}
template<class Mask>
Mask inverted(const Mask& mask) {
    const cWithoutGil released(mask.Count());
    Mask result = mask;
    for (unsigned char& element : elementsOf(result))
        element = element == 0;
    return result;
}
template<class Mask>
int countOf(const Mask& mask) {
    const cWithoutGil released(mask.Count());
    const auto elements = elementsOf(mask);
    return static_cast<int>(elements.size() -
                            static_cast<std::size_t>(std::ranges::count(elements, 0)));
}

template sMask1D both(const sMask1D&, const sMask1D&);
template sMask2D both(const sMask2D&, const sMask2D&);
template sMask1D any(const sMask1D&, const sMask1D&);
template sMask2D any(const sMask2D&, const sMask2D&);
template sMask1D oneOf(const sMask1D&, const sMask1D&);
template sMask2D oneOf(const sMask2D&, const sMask2D&);
template sMask1D inverted(const sMask1D&);
template sMask2D inverted(const sMask2D&);

void registerMaskFunctions(py::module_&) {
    define<sMask1D>();
    define<sMask2D>();
}

} // namespace dataprocessing::python
