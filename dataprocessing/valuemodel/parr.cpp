#include "dataprocessing/valuemodel/parr.h"

#include <algorithm>
#include <cstring>
#include <ostream>
#include <utility>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/base/dtyp_print.h"
#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/base/expt.h"
#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/print.h"

using namespace dataprocessing::detail;

namespace {

std::size_t bytesOf(int count, dtyp_cDataType type) {
    return static_cast<std::size_t>(count) * type.SizeOf();
}

/// The address of the element at `index`.
template<class Byte>
Byte* elementAt(Byte* data, int index, dtyp_cDataType type) {
    return data + bytesOf(index, type);
}
unsigned char* bytes(void* data) { return static_cast<unsigned char*>(data); }
const unsigned char* bytes(const void* data) { return static_cast<const unsigned char*>(data); }

void printRow(std::ostream& stream, dtyp_cDataType type, const unsigned char* row, int size) {
    print_Row(stream, size,
              [&](int i) { dtyp_PrintElement(stream, type, elementAt(row, i, type)); });
}

} // namespace

parr_cNumberArray::parr_cNumberArray(long long count, dtyp_cDataType type)
    : block_(bytesOf(arr_CheckedSize(count), type)), type_(type), count_(static_cast<int>(count)) {}

parr_cNumberArray::parr_cNumberArray(long long count, const pnum_cNumber& fill)
    : parr_cNumberArray(count, fill.DataType()) {
    dtyp_Visit(type_, [&]<class T>(dtyp_Tag<T>) {
        const T value = *static_cast<const T*>(fill.Data());
        for (T& element : Elements<T>())
            element = value;
    });
}

parr_cNumberArray::parr_cNumberArray(long long count, dtyp_cDataType type, const void* elements)
    : parr_cNumberArray(count, type) {
    if (block_.Size() != 0)
        std::memcpy(block_.Data(), elements, block_.Size());
}

parr_cNumberArray::parr_cNumberArray(std::span<const dtyp_cListed> elements)
    : parr_cNumberArray(static_cast<long long>(elements.size()),
                        std::ranges::any_of(elements, &dtyp_cListed::IsComplex) ? dtyp_ComplexDouble
                                                                                : dtyp_Double) {
    if (type_ == dtyp_ComplexDouble)
        std::ranges::transform(elements, static_cast<comp_cComplex<double>*>(Data()),
                               &dtyp_cListed::Value);
    else
        std::ranges::transform(elements, static_cast<double*>(Data()),
                               [](const dtyp_cListed& element) { return element.Value().re; });
}

void parr_cNumberArray::Convert(dtyp_cDataType type) {
    if (type == type_)
        return;
    conv_Check(type_, type, conv_RealPart);
    mem_cBlock converted(bytesOf(count_, type));
    conv_Elements(block_.Data(), type_, converted.Data(), type, static_cast<std::size_t>(count_),
                  conv_RealPart);
    block_ = std::move(converted);
    type_ = type;
}

double parr_cNumberArray::ValueAt(long long index) const {
    if (index < 0 || index >= Count())
        arr_IndexError(index, Count());
    conv_Check(type_, dtyp_Double, conv_RealPart);
    double value = 0;
    dtyp_Visit(type_, [&]<class T>(dtyp_Tag<T>) {
        const T& element = static_cast<const T*>(Data())[index];
        if constexpr (isComplex<T>)
            value = static_cast<double>(element.re);
        else
            value = static_cast<double>(element);
    });
    return value;
}

pnum_cNumber parr_cNumberArray::NumberAt(int index) const {
    arr_CheckedIndex(index, Count());
    return {type_, elementAt(bytes(Data()), index, type_)};
}

void parr_cNumberArray::SetNumberAt(int index, const pnum_cNumber& number) {
    arr_CheckedIndex(index, Count());
    conv_Check(number.DataType(), type_, conv_RealPart);
    conv_Elements(number.Data(), number.DataType(), elementAt(bytes(Data()), index, type_), type_,
                  1, conv_RealPart);
}

void parr_cNumberArray::CopyElements(const parr_cNumberArray& source, int sourceFirst, int first,
                                     int count) {
    const unsigned char* from = elementAt(bytes(source.Data()), sourceFirst, source.type_);
    unsigned char* to = elementAt(bytes(Data()), first, type_);
    if (source.type_ != type_)
        conv_Elements(from, source.type_, to, type_, static_cast<std::size_t>(count),
                      conv_RealPart);
    else if (const std::size_t size = bytesOf(count, type_))
        std::memmove(to, from, size);
}

void parr_cNumberArray::RequireType(dtyp_cDataType type) const {
    if (type != type_)
        throw expt_cProgramException("parr", 1, "The elements are of another type.");
}

void parr_c1DNumberArray::SetSelection(const parr_c1DNumberArray& source, int start) {
    if (start < 0 || source.Size() > Size() - start)
        arr_IndexError(start < 0 ? start : static_cast<long long>(start) + source.Size() - 1,
                       Size());
    conv_Check(source.DataType(), DataType(), conv_RealPart);
    CopyElements(source, 0, start, source.Size());
}

parr_c2DNumberArray::parr_c2DNumberArray(int sizeX, int sizeY, dtyp_cDataType type)
    : parr_cNumberArray(arr_CheckedSize(sizeX, sizeY), type), sizeX_(sizeX), sizeY_(sizeY) {}

parr_c2DNumberArray::parr_c2DNumberArray(int sizeX, int sizeY, const pnum_cNumber& fill)
    : parr_cNumberArray(arr_CheckedSize(sizeX, sizeY), fill), sizeX_(sizeX), sizeY_(sizeY) {}

parr_c2DNumberArray::parr_c2DNumberArray(int sizeX, int sizeY, dtyp_cDataType type,
                                         const void* elements)
    : parr_cNumberArray(arr_CheckedSize(sizeX, sizeY), type, elements), sizeX_(sizeX),
      sizeY_(sizeY) {}

parr_c2DNumberArray::parr_c2DNumberArray(int sizeX, int sizeY,
                                         std::initializer_list<dtyp_cListed> elements)
    : parr_cNumberArray(
          std::span(static_cast<const dtyp_cListed*>(CheckedElements(
                        sizeX, sizeY, static_cast<long long>(elements.size()), elements.begin())),
                    elements.size())),
      sizeX_(sizeX), sizeY_(sizeY) {}

void parr_c2DNumberArray::SetSelection(const parr_c2DNumberArray& source, int startX, int startY) {
    if (startX < 0 || source.sizeX_ > sizeX_ - startX)
        arr_IndexError(startX < 0 ? startX : static_cast<long long>(startX) + source.sizeX_ - 1,
                       sizeX_);
    if (startY < 0 || source.sizeY_ > sizeY_ - startY)
        arr_IndexError(startY < 0 ? startY : static_cast<long long>(startY) + source.sizeY_ - 1,
                       sizeY_);
    conv_Check(source.DataType(), DataType(), conv_RealPart);
    for (int y = 0; y < source.sizeY_; ++y)
        CopyElements(source, y * source.sizeX_, (startY + y) * sizeX_ + startX, source.sizeX_);
}

int parr_c2DNumberArray::IndexOf(int x, int y) const {
    return arr_CheckedIndex(x, y, SizeX(), SizeY());
}

const void* parr_c2DNumberArray::CheckedElements(int sizeX, int sizeY, long long count,
                                                 const void* elements) {
    const int expected = arr_CheckedSize(sizeX, sizeY);
    if (count != expected)
        arr_SizeError(count, expected);
    return elements;
}

std::ostream& operator<<(std::ostream& stream, const parr_c1DNumberArray& array) {
    printRow(stream, array.DataType(), bytes(array.Data()), array.Size());
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const parr_c2DNumberArray& array) {
    print_Rows(stream, array.SizeY(), [&](int y) {
        printRow(stream, array.DataType(),
                 elementAt(bytes(array.Data()), y * array.SizeX(), array.DataType()),
                 array.SizeX());
    });
    return stream;
}
