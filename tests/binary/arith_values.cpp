#include "tests/binary/arith_values.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <sstream>

#include "dataprocessing/base/dtyp_visit.h"

namespace oracle {

namespace {

template<class T>
T stored(Element element) {
    return static_cast<T>(element.re);
}
template<>
comp_cComplex<float> stored(Element element) {
    return {static_cast<float>(element.re), static_cast<float>(element.im)};
}
template<>
comp_cComplex<double> stored(Element element) {
    return {element.re, element.im};
}

template<class T>
Element loaded(T element) {
    return {static_cast<double>(element), 0};
}
template<class T>
Element loaded(comp_cComplex<T> element) {
    return {static_cast<double>(element.re), static_cast<double>(element.im)};
}

std::vector<std::byte> bytesOf(const Value& value) {
    std::vector<std::byte> bytes;
    dtyp_Visit(dtyp_cDataType(value.type), [&]<class T>(dtyp_Tag<T>) {
        bytes.resize(value.elements.size() * sizeof(T) + 1);
        T* out = reinterpret_cast<T*>(bytes.data());
        for (const Element& element : value.elements)
            *out++ = stored<T>(element);
    });
    return bytes;
}

std::vector<Element> elementsOf(dtyp_cDataType type, const void* data, int count) {
    std::vector<Element> elements;
    elements.reserve(static_cast<std::size_t>(count));
    dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
        for (int i = 0; i < count; ++i)
            elements.push_back(loaded(static_cast<const T*>(data)[i]));
    });
    return elements;
}

cal_cArrayCal calOf(const Axis& axis) { return {axis.offset, axis.delta, axis.index}; }
Axis axisOf(const cal_cArrayCal& cal, int count) {
    return {cal.Offset(), cal.Delta(), cal.CalIndex(), count};
}

template<class A, class B>
Outcome answer(int operation, const A& a, const B& b) {
    Outcome outcome;
    outcome.refusal = refusalWithKindOf(
        [&] { outcome.value = valueOf(bnry_Operate(bnry_eAritBinaryOperation(operation), a, b)); });
    return outcome;
}

} // namespace

pnum_cNumber numberOf(const Value& value) {
    return {dtyp_cDataType(value.type), bytesOf(value).data()};
}
darr_c1DArray array1DOf(const Value& value) {
    return darr_c1DArray(
        parr_c1DNumberArray(value.x.count, dtyp_cDataType(value.type), bytesOf(value).data()),
        cal_c1DArrayCal(calOf(value.x)));
}
darr_c2DArray array2DOf(const Value& value) {
    return darr_c2DArray(parr_c2DNumberArray(value.x.count, value.y.count,
                                             dtyp_cDataType(value.type), bytesOf(value).data()),
                         cal_c2DArrayCal(calOf(value.x), calOf(value.y)));
}

Value valueOf(const pnum_cNumber& number) {
    return {number.DataType().Code(), 0, {}, {}, elementsOf(number.DataType(), number.Data(), 1)};
}
Value valueOf(const darr_c1DArray& array) {
    return {array.DataType().Code(),
            1,
            axisOf(array.Cal(), array.Size()),
            {},
            elementsOf(array.DataType(), array.Data(), array.Count())};
}
Value valueOf(const darr_c2DArray& array) {
    return {array.DataType().Code(), 2, axisOf(array.Cal().X(), array.SizeX()),
            axisOf(array.Cal().Y(), array.SizeY()),
            elementsOf(array.DataType(), array.Data(), array.Count())};
}

Outcome operateWithLibrary(int operation, const Value& a, const Value& b) {
    switch (a.dimensions * 3 + b.dimensions) {
    case 0:
        return answer(operation, numberOf(a), numberOf(b));
    case 1:
        return answer(operation, numberOf(a), array1DOf(b));
    case 2:
        return answer(operation, numberOf(a), array2DOf(b));
    case 3:
        return answer(operation, array1DOf(a), numberOf(b));
    case 4:
        return answer(operation, array1DOf(a), array1DOf(b));
    case 6:
        return answer(operation, array2DOf(a), numberOf(b));
    case 8:
        return answer(operation, array2DOf(a), array2DOf(b));
    default:
        return {"no such pairing", {}};
    }
}

namespace {

double randomPart(int type, std::mt19937& random) {
    const auto upTo = [&](unsigned n) { return static_cast<int>(random() % n); };
    const double lowest[] = {0, 0, 0, 0, -128, -32768, -2147483648.0};
    const double highest[] = {0, 255, 65535, 4294967295.0, 127, 32767, 2147483647};
    if (type <= 6) {
        switch (upTo(5)) {
        case 0:
            return lowest[type] + upTo(2);
        case 1:
            return highest[type] - upTo(2);
        case 2:
            return std::floor(
                std::uniform_real_distribution<double>(lowest[type], highest[type])(random));
        default:
            return lowest[type] == 0 ? upTo(20) : upTo(40) - 20;
        }
    }
    const bool isSingle = type == 7 || type == 9;
    const double largest =
        isSingle ? double{std::numeric_limits<float>::max()} : std::numeric_limits<double>::max();
    const double normal =
        isSingle ? double{std::numeric_limits<float>::min()} : std::numeric_limits<double>::min();
    const double sign = upTo(2) == 0 ? 1 : -1;
    switch (upTo(40)) {
    case 0:
        return sign * largest;
    case 1:
        return sign * normal;
    case 2:
        return sign * normal / 4;
    case 3:
        return sign * 0.0;
    case 4:
        return sign * std::numeric_limits<double>::infinity();
    case 5:
        return std::numeric_limits<double>::quiet_NaN();
    default:
        return upTo(2) == 0
                   ? sign * upTo(20)
                   : sign * std::ldexp(std::uniform_real_distribution<double>(1, 2)(random),
                                       upTo(24) - 12);
    }
}

} // namespace

Element randomElement(int type, bool mayBeZero, std::mt19937& random) {
    for (;;) {
        const double re = randomPart(type, random);
        const double im = type >= 9 ? randomPart(type, random) : 0;
        const Element element = converted({re, im}, type);
        const bool counts = type <= 6 ? element.re == 0 : isZero(type, element);
        if (mayBeZero || !counts)
            return element;
    }
}

void fillRandomly(Value& value, bool mayBeZero, std::mt19937& random) {
    value.elements.resize(static_cast<std::size_t>(value.count()));
    for (Element& element : value.elements)
        element = randomElement(value.type, mayBeZero, random);
}

std::string describe(const Value& value) {
    std::ostringstream text;
    text.precision(17);
    text << value.dimensions << "D of type " << value.type;
    for (const Axis& axis : {value.x, value.y})
        text << " (" << axis.count << " at " << axis.offset << ", " << axis.delta << ", "
             << axis.index << ")";
    if (value.elements.size() == 1)
        text << " = (" << value.elements[0].re << ", " << value.elements[0].im << ")";
    return text.str();
}

} // namespace oracle
