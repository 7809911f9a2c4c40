#include "dataprocessing/valuemodel/barr.h"

#include <cstring>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/valuemodel/barr_make.h"

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
