#include "dataprocessing/valuemodel/barr.h"

#include <algorithm>
#include <cstring>
#include <ostream>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/valuemodel/barr_make.h"
#include "dataprocessing/valuemodel/print.h"

using namespace dataprocessing::detail;

namespace {

mem_cBlock falseElements(int count) {
    mem_cBlock block(static_cast<std::size_t>(count));
    if (count != 0)
        std::memset(block.Data(), 0, block.Size());
    return block;
}

/// The element at `index`, which has been checked; Block is constant or not.
template<class Byte, class Block>
Byte& elementAt(Block& block, int index) {
    return static_cast<Byte*>(block.Data())[index];
}

/// Sums blocks of bytes in bytes, which is what vectors add most of at a time.
int countTrue(std::span<const unsigned char> elements) {
    constexpr std::size_t block = 255;
    int count = 0;
    for (std::size_t first = 0; first < elements.size(); first += block) {
        unsigned char sum = 0;
        for (const unsigned char element :
             elements.subspan(first, std::min(block, elements.size() - first)))
            sum = static_cast<unsigned char>(sum + static_cast<unsigned char>(element != 0));
        count += sum;
    }
    return count;
}

void printRow(std::ostream& stream, std::span<const unsigned char> row) {
    print_Row(stream, static_cast<int>(row.size()),
              [&](int i) { stream << (row[static_cast<std::size_t>(i)] != 0 ? 1 : 0); });
}

bool isSameAxis(const cal_cArrayCal& a, int countA, const cal_cArrayCal& b, int countB) noexcept {
    return a.Delta() == b.Delta() && a.Position(0) == b.Position(0) &&
           a.Position(countA) == b.Position(countB);
}

} // namespace

barr_c1DBoolArray::barr_c1DBoolArray(int size) : block_(falseElements(arr_CheckedSize(size))) {}

rnge_c1DRange barr_c1DBoolArray::Range() const { return {cal_.Position(0), cal_.Position(Size())}; }

type_cBoolean barr_c1DBoolArray::IsRangeAndDelta(const barr_c1DBoolArray& other) const noexcept {
    return isSameAxis(cal_, Size(), other.cal_, other.Size());
}

unsigned char& barr_c1DBoolArray::Element(int index) & {
    return elementAt<unsigned char>(block_, arr_CheckedIndex(index, Size()));
}
const unsigned char& barr_c1DBoolArray::Element(int index) const& {
    return elementAt<const unsigned char>(block_, arr_CheckedIndex(index, Size()));
}

int barr_c1DBoolArray::CountTrue() const noexcept { return countTrue(Elements()); }

barr_c2DBoolArray::barr_c2DBoolArray(int sizeX, int sizeY)
    : block_(falseElements(arr_CheckedSize(sizeX, sizeY))), sizeX_(sizeX), sizeY_(sizeY) {}

rnge_c2DRange barr_c2DBoolArray::Range() const {
    return {cal_.X().Position(0), cal_.Y().Position(0), cal_.X().Position(SizeX()),
            cal_.Y().Position(SizeY())};
}

type_cBoolean barr_c2DBoolArray::IsRangeAndDelta(const barr_c2DBoolArray& other) const noexcept {
    return isSameAxis(cal_.X(), SizeX(), other.cal_.X(), other.SizeX()) &&
           isSameAxis(cal_.Y(), SizeY(), other.cal_.Y(), other.SizeY());
}

unsigned char& barr_c2DBoolArray::Element(int x, int y) & {
    return elementAt<unsigned char>(block_, arr_CheckedIndex(x, y, SizeX(), SizeY()));
}
const unsigned char& barr_c2DBoolArray::Element(int x, int y) const& {
    return elementAt<const unsigned char>(block_, arr_CheckedIndex(x, y, SizeX(), SizeY()));
}

int barr_c2DBoolArray::CountTrue() const noexcept { return countTrue(Elements()); }

std::ostream& operator<<(std::ostream& stream, const barr_c1DBoolArray& mask) {
    printRow(stream, mask.Elements());
    return stream;
}

std::ostream& operator<<(std::ostream& stream, const barr_c2DBoolArray& mask) {
    const auto columns = static_cast<std::size_t>(mask.SizeX());
    print_Rows(stream, mask.SizeY(), [&](int y) {
        printRow(stream, mask.Elements().subspan(static_cast<std::size_t>(y) * columns, columns));
    });
    return stream;
}

template<>
barr_c1DBoolArray dataprocessing::detail::barr_Unset(int sizeX, int) {
    barr_c1DBoolArray mask;
    mask.block_ = mem_cBlock(static_cast<std::size_t>(sizeX));
    return mask;
}

template<>
barr_c2DBoolArray dataprocessing::detail::barr_Unset(int sizeX, int sizeY) {
    barr_c2DBoolArray mask;
    mask.block_ = mem_cBlock(static_cast<std::size_t>(sizeX) * static_cast<std::size_t>(sizeY));
    mask.sizeX_ = sizeX;
    mask.sizeY_ = sizeY;
    return mask;
}
