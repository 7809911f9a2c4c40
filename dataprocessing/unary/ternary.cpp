#include "dataprocessing/unary/ternary.h"

#include <algorithm>
#include <cstddef>

#include "dataprocessing/binary/binary2_kernels.h"
#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/kernels/arit.h"
#include "dataprocessing/operand/algn.h"
#include "dataprocessing/unary/ternary_kernels.h"
#include "dataprocessing/valuemodel/barr_make.h"
#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/view_make.h"
#include "dataprocessing/valuemodel/view_source.h"

using namespace dataprocessing::detail;

namespace {

using eComparison = bnry_eCompBinaryOperation;

// A block of each value, of the condition and of the result stay in the first-level cache.
constexpr std::size_t blockBytes = 8192;

/// The condition that a mask holds.
class cMaskCondition {
public:
    explicit cMaskCondition(const unsigned char* elements) noexcept : elements_(elements) {}

    const unsigned char* Block(std::size_t first, std::size_t, const void*, const void*) const {
        return elements_ + first;
    }

private:
    const unsigned char* elements_;
};

/// The condition that comparing the two values gives.
class cComparedCondition {
public:
    cComparedCondition(eComparison comparison, dtyp_cDataType type, bool firstIsArray,
                       bool secondIsArray) noexcept
        : operation_{comparison, type.Code(), firstIsArray, secondIsArray, 0} {}

    const unsigned char* Block(std::size_t, std::size_t count, const void* a, const void* b) {
        operation_.count = static_cast<int>(count);
        bnry_RunComparison(a, b, block_, operation_);
        return block_;
    }

private:
    bnry_sAritOperation operation_;
    alignas(64) unsigned char block_[blockBytes];
};

/// Selects between `a` and `b`, which are wanted in the type of the result, block by block.
template<class Condition, class Array>
void selectInto(Array& result, Condition&& condition, const view_cSource& a,
                const view_cSource& b) {
    const dtyp_cDataType type = result.DataType();
    tnry_RequireKnown(type);
    const std::size_t size = type.SizeOf();
    const std::size_t count = static_cast<std::size_t>(result.Count());
    const bool streams = count * size >= arit_StreamFrom;
    alignas(64) std::byte blockA[blockBytes];
    alignas(64) std::byte blockB[blockBytes];
    alignas(64) std::byte blockResult[blockBytes];
    for (std::size_t first = 0; first < count; first += blockBytes / size) {
        const std::size_t n = std::min(blockBytes / size, count - first);
        const void* fromA = a.Read(first, n, blockA);
        const void* fromB = b.Read(first, n, blockB);
        std::byte* target = static_cast<std::byte*>(result.Data()) + first * size;
        std::byte* written = streams ? blockResult : target;
        tnry_RunSelection(condition.Block(first, n, fromA, fromB), fromA, fromB, written,
                          {type.Code(), a.IsArray(), b.IsArray(), static_cast<int>(n)});
        if (streams)
            arit_StreamOut(target, written, n * size);
    }
    if (streams)
        arit_EndStreaming();
}

dtyp_cDataType commonType(dtyp_cDataType a, dtyp_cDataType b) {
    const dtyp_cDataType type = dtyp_Max(a, b);
    conv_Check(a, type, conv_RealPart);
    conv_Check(b, type, conv_RealPart);
    return type;
}

/// The array that lies where a mask does, with elements that are not set.
darr_c1DArray shapedLike(const barr_c1DBoolArray& mask, dtyp_cDataType type) {
    return {mask.Size(), type, mask.Cal()};
}
darr_c2DArray shapedLike(const barr_c2DBoolArray& mask, dtyp_cDataType type) {
    return {mask.SizeX(), mask.SizeY(), type, mask.Cal()};
}

/// An array value, seen in the common type where the condition lies.
struct sMatched {
    algn_sAxes axes;
    bool isChanged;
    view_cView view;

    template<class Mask, class Array>
    sMatched(const Mask& condition, const Array& array, dtyp_cDataType type)
        : axes(algn_Axes(array)),
          isChanged(algn_MatchToMask(algn_Axes(condition), axes) || array.DataType() != type),
          view(algn_View(array, type, axes)) {}
};

pnum_cNumber select(const type_cBoolean& condition, const pnum_cNumber& first,
                    const pnum_cNumber& second) {
    const dtyp_cDataType type = commonType(first.DataType(), second.DataType());
    const pnum_cNumber a = conv_Convert(first, type);
    const pnum_cNumber b = conv_Convert(second, type);
    const unsigned char byte = condition ? 1 : 0;
    pnum_cNumber result(type);
    tnry_RunSelection(&byte, a.Data(), b.Data(), result.Data(), {type.Code(), 0, 0, 1});
    return result;
}

/// The array that a selection with one array value is written to: where that value lies when it had
/// to be changed, else where the condition does.
template<class Mask, class Array>
Array resultFor(const Mask& condition, const Array& array, dtyp_cDataType type,
                const sMatched& matched) {
    algn_RequireSameSize(algn_Axes(condition), matched.axes);
    return matched.isChanged ? view_Shaped(array, type, matched.axes.x, matched.axes.y)
                             : shapedLike(condition, type);
}

template<class Array>
Array select(const barr_Mask<Array>& condition, const pnum_cNumber& first, const Array& second) {
    const dtyp_cDataType type = commonType(first.DataType(), second.DataType());
    const pnum_cNumber number = conv_Convert(first, type);
    const sMatched matched(condition, second, type);
    const cMaskCondition isFirst(barr_Elements(condition));
    Array result = resultFor(condition, second, type, matched);
    selectInto(result, isFirst, view_cSource(number.Data()), view_cSource(matched.view));
    return result;
}

template<class Array>
Array select(const barr_Mask<Array>& condition, const Array& first, const pnum_cNumber& second) {
    const dtyp_cDataType type = commonType(first.DataType(), second.DataType());
    const pnum_cNumber number = conv_Convert(second, type);
    const sMatched matched(condition, first, type);
    const cMaskCondition isFirst(barr_Elements(condition));
    Array result = resultFor(condition, first, type, matched);
    selectInto(result, isFirst, view_cSource(matched.view), view_cSource(number.Data()));
    return result;
}

template<class Array>
Array select(const barr_Mask<Array>& condition, const Array& first, const Array& second) {
    const dtyp_cDataType type = commonType(first.DataType(), second.DataType());
    const sMatched a(condition, first, type);
    const sMatched b(condition, second, type);
    const cMaskCondition isFirst(barr_Elements(condition));
    algn_RequireSameSize(algn_Axes(condition), a.axes);
    algn_RequireSameSize(algn_Axes(condition), b.axes);
    Array result = shapedLike(condition, type);
    selectInto(result, isFirst, view_cSource(a.view), view_cSource(b.view));
    return result;
}

template<class Mask>
auto select(const Mask& condition, const pnum_cNumber& first, const pnum_cNumber& second) {
    const dtyp_cDataType type = commonType(first.DataType(), second.DataType());
    const pnum_cNumber a = conv_Convert(first, type);
    const pnum_cNumber b = conv_Convert(second, type);
    const cMaskCondition isFirst(barr_Elements(condition));
    auto result = shapedLike(condition, type);
    selectInto(result, isFirst, view_cSource(a.Data()), view_cSource(b.Data()));
    return result;
}

/// The comparison with an array without elements, which holds nowhere, where that array lies.
template<class Array>
barr_Mask<Array> comparedWithNothing(const Array& array) {
    barr_Mask<Array> mask = bnry_MaskOfNothing(array);
    mask.SetCal(array.Cal());
    return mask;
}

pnum_cNumber extreme(eComparison comparison, const pnum_cNumber& a, const pnum_cNumber& b) {
    return select(bnry_Operate(comparison, a, b), a, b);
}

/// Selects by comparing `a` with `b`, which are wanted in the type of the result.
template<class Array>
void compareInto(Array& result, eComparison comparison, const view_cSource& a,
                 const view_cSource& b) {
    bnry_RequireComparable(result.DataType());
    selectInto(result, cComparedCondition(comparison, result.DataType(), a.IsArray(), b.IsArray()),
               a, b);
}

template<class Array>
Array extreme(eComparison comparison, const pnum_cNumber& a, const Array& b) {
    if (b.Count() == 0)
        return select(comparedWithNothing(b), a, b);
    const dtyp_cDataType type = bnry_ComparedType(a.DataType(), b.DataType(), comparison);
    const pnum_cNumber first = conv_Convert(a, type);
    const algn_sAxes axes = algn_Axes(b);
    const view_cView second = algn_View(b, type, axes);
    Array result = view_Shaped(b, type, axes.x, axes.y);
    compareInto(result, comparison, view_cSource(first.Data()), view_cSource(second));
    return result;
}

template<class Array>
Array extreme(eComparison comparison, const Array& a, const pnum_cNumber& b) {
    if (a.Count() == 0)
        return select(comparedWithNothing(a), a, b);
    const dtyp_cDataType type = bnry_ComparedType(a.DataType(), b.DataType(), comparison);
    const pnum_cNumber second = conv_Convert(b, type);
    const algn_sAxes axes = algn_Axes(a);
    const view_cView first = algn_View(a, type, axes);
    Array result = view_Shaped(a, type, axes.x, axes.y);
    compareInto(result, comparison, view_cSource(first), view_cSource(second.Data()));
    return result;
}

template<class Array>
Array extreme(eComparison comparison, const Array& a, const Array& b) {
    if (a.Count() == 0 && b.Count() == 0)
        return select(comparedWithNothing(a), a, b);
    const dtyp_cDataType type = bnry_ComparedType(a.DataType(), b.DataType(), comparison);
    algn_sAxes axesA = algn_Axes(a);
    algn_sAxes axesB = algn_Axes(b);
    algn_Match(axesA, axesB);
    const view_cView first = algn_View(a, type, axesA);
    const view_cView second = algn_View(b, type, axesB);
    Array result = view_Shaped(a, type, axesA.x, axesA.y);
    compareInto(result, comparison, view_cSource(first), view_cSource(second));
    return result;
}

} // namespace

// clang-format off

pnum_cNumber  tnry_Ternary(const type_cBoolean&     condition, const pnum_cNumber&  first, const pnum_cNumber&  second) { return select(condition, first, second); }
darr_c1DArray tnry_Ternary(const barr_c1DBoolArray& condition, const pnum_cNumber&  first, const darr_c1DArray& second) { return select(condition, first, second); }
darr_c1DArray tnry_Ternary(const barr_c1DBoolArray& condition, const darr_c1DArray& first, const pnum_cNumber&  second) { return select(condition, first, second); }
darr_c1DArray tnry_Ternary(const barr_c1DBoolArray& condition, const darr_c1DArray& first, const darr_c1DArray& second) { return select(condition, first, second); }
darr_c1DArray tnry_Ternary(const barr_c1DBoolArray& condition, const pnum_cNumber&  first, const pnum_cNumber&  second) { return select(condition, first, second); }
darr_c2DArray tnry_Ternary(const barr_c2DBoolArray& condition, const pnum_cNumber&  first, const darr_c2DArray& second) { return select(condition, first, second); }
darr_c2DArray tnry_Ternary(const barr_c2DBoolArray& condition, const darr_c2DArray& first, const pnum_cNumber&  second) { return select(condition, first, second); }
darr_c2DArray tnry_Ternary(const barr_c2DBoolArray& condition, const darr_c2DArray& first, const darr_c2DArray& second) { return select(condition, first, second); }
darr_c2DArray tnry_Ternary(const barr_c2DBoolArray& condition, const pnum_cNumber&  first, const pnum_cNumber&  second) { return select(condition, first, second); }

pnum_cNumber  trny_min(const pnum_cNumber&  a, const pnum_cNumber&  b) { return extreme(bnry_Less, a, b); }
darr_c1DArray trny_min(const pnum_cNumber&  a, const darr_c1DArray& b) { return extreme(bnry_Less, a, b); }
darr_c1DArray trny_min(const darr_c1DArray& a, const pnum_cNumber&  b) { return extreme(bnry_Less, a, b); }
darr_c1DArray trny_min(const darr_c1DArray& a, const darr_c1DArray& b) { return extreme(bnry_Less, a, b); }
darr_c2DArray trny_min(const pnum_cNumber&  a, const darr_c2DArray& b) { return extreme(bnry_Less, a, b); }
darr_c2DArray trny_min(const darr_c2DArray& a, const pnum_cNumber&  b) { return extreme(bnry_Less, a, b); }
darr_c2DArray trny_min(const darr_c2DArray& a, const darr_c2DArray& b) { return extreme(bnry_Less, a, b); }

pnum_cNumber  trny_max(const pnum_cNumber&  a, const pnum_cNumber&  b) { return extreme(bnry_Greater, a, b); }
darr_c1DArray trny_max(const pnum_cNumber&  a, const darr_c1DArray& b) { return extreme(bnry_Greater, a, b); }
darr_c1DArray trny_max(const darr_c1DArray& a, const pnum_cNumber&  b) { return extreme(bnry_Greater, a, b); }
darr_c1DArray trny_max(const darr_c1DArray& a, const darr_c1DArray& b) { return extreme(bnry_Greater, a, b); }
darr_c2DArray trny_max(const pnum_cNumber&  a, const darr_c2DArray& b) { return extreme(bnry_Greater, a, b); }
darr_c2DArray trny_max(const darr_c2DArray& a, const pnum_cNumber&  b) { return extreme(bnry_Greater, a, b); }
darr_c2DArray trny_max(const darr_c2DArray& a, const darr_c2DArray& b) { return extreme(bnry_Greater, a, b); }

// clang-format on
