#include "dataprocessing/unary/ternary.h"

#include "dataprocessing/base/expt.h"
#include "dataprocessing/binary/binary2_compared.h"
#include "dataprocessing/binary/bnry_comp.h"
#include "dataprocessing/kernels/choose.h"
#include "dataprocessing/kernels/extreme.h"
#include "dataprocessing/operand/pair.h"
#include "dataprocessing/valuemodel/barr_make.h"

using namespace dataprocessing::detail;

namespace {

using eComparison = bnry_eCompBinaryOperation;

/// The value that lies where a condition does, with elements that are not set.
pnum_cNumber shapedLike(const type_cBoolean&, dtyp_cDataType type) { return pnum_cNumber(type); }
darr_c1DArray shapedLike(const barr_c1DBoolArray& mask, dtyp_cDataType type) {
    return {mask.Size(), type, mask.Cal()};
}
darr_c2DArray shapedLike(const barr_c2DBoolArray& mask, dtyp_cDataType type) {
    return {mask.SizeX(), mask.SizeY(), type, mask.Cal()};
}

std::size_t countOf(const type_cBoolean&) { return 1; }
template<class Mask>
std::size_t countOf(const Mask& mask) {
    return algn_Count(algn_Axes(mask));
}

/// Where a value lies once it is brought to where the condition does.
template<class Value>
struct sMatched {
    pair_tAxes<Value> axes;
    bool isChanged = false; // in place or in type

    template<class Mask>
    sMatched(const Mask& condition, const Value& value, dtyp_cDataType type)
        : axes(pair_Axes(value)) {
        if constexpr (!pair_Number<Value>)
            isChanged = algn_MatchToMask(algn_Axes(condition), axes) || value.DataType() != type;
    }
};

choose_Loop choosingLoop(dtyp_cDataType type, const blocks_cSource& a, const blocks_cSource& b) {
    const choose_Loop loop = choose_LoopFor(type, a.IsArray(), b.IsArray());
    if (loop == nullptr)
        throw expt_cProgramException("ternary", 114, "Elements of an unknown type are not chosen.");
    return loop;
}

template<class Mask, class A, class B>
auto select(const Mask& condition, const A& a, const B& b) {
    const dtyp_cDataType type = pair_Type(a.DataType(), b.DataType(), a.DataType());
    const sMatched<A> matchedA(condition, a, type);
    const sMatched<B> matchedB(condition, b, type);
    const blocks_cSource isFirst(barr_Elements(condition), dtyp_UInt8);
    const pair_cSide<A> first(a, type, matchedA.axes);
    const pair_cSide<B> second(b, type, matchedB.axes);

    // A single array value that had to be changed says where the result lies, else the condition.
    auto result = [&] {
        if constexpr (pair_Number<A> != pair_Number<B>)
            if (matchedA.isChanged || matchedB.isChanged)
                return pair_Unset(pair_Model(a, b), type, pair_Model(matchedA.axes, matchedB.axes));
        return shapedLike(condition, type);
    }();
    const blocks_cSource& sourceA = first.Source();
    const blocks_cSource& sourceB = second.Source();
    const choose_Loop loop = choosingLoop(type, sourceA, sourceB);
    const auto step = [loop](void* target, std::size_t count, const void* c, const void* x,
                             const void* y) {
        loop(static_cast<const unsigned char*>(c), x, y, target, count);
        return true;
    };
    blocks_Run({result.Data(), type.SizeOf(), 0, countOf(condition)}, step, isFirst, sourceA,
               sourceB);
    return result;
}

/// The minimum or maximum of complex elements, which are compared by their magnitudes: of each pair
/// the first where the comparison holds.
void chooseByMagnitude(eComparison comparison, dtyp_cDataType type, const blocks_cSource& a,
                       const blocks_cSource& b, void* result, std::size_t count) {
    const compare_cLoop compare = bnry_ComparingLoop(comparison, type, a, b);
    const choose_Loop choose = choosingLoop(type, a, b);
    constexpr std::size_t mostBytes = 8192; // what was compared is still in the cache
    alignas(64) unsigned char isFirst[mostBytes];
    const auto step = [&](void* target, std::size_t n, const void* x, const void* y) {
        compare(x, y, isFirst, n);
        choose(isFirst, x, y, target, n);
        return true;
    };
    const std::size_t size = type.SizeOf();
    blocks_Run({result, size, 0, count, mostBytes / size}, step, a, b);
}

/// The minimum or maximum: of each pair the first element where the comparison holds.
template<class A, class B>
auto extreme(eComparison comparison, const A& a, const B& b) {
    const auto& model = pair_Model(a, b);
    if constexpr (!pair_Number<A> || !pair_Number<B>)
        if (pair_IsEmpty(a, b)) {
            auto holdsNowhere = bnry_MaskOfNothing(model);
            holdsNowhere.SetCal(model.Cal());
            return select(holdsNowhere, a, b);
        }
    const dtyp_cDataType type = bnry_ComparedType(a.DataType(), b.DataType(), comparison);
    pair_cOperands<A, B> pair(a, b, type);
    pair.Align(pair_NothingIsRefused);
    auto result = pair.Unset();
    const form_eOperands form = form_Of(pair.First().IsArray(), pair.Second().IsArray());
    const extreme_Loop loop =
        extreme_LoopFor(type, comparison == bnry_Less ? extreme_Minimum : extreme_Maximum, form);
    if (loop == nullptr) {
        chooseByMagnitude(comparison, type, pair.First(), pair.Second(), result.Data(),
                          pair.Count());
        return result;
    }
    const auto step = [loop](void* target, std::size_t count, const void* x, const void* y) {
        loop(x, y, target, count);
        return true;
    };
    blocks_Run({result.Data(), type.SizeOf(), 0, pair.Count()}, step, pair.First(), pair.Second());
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
