#pragma once

/// @file
/// Pairing: what happens to two operands before a loop runs over them, whichever of them are
/// numbers and which arrays.

#include <concepts>
#include <optional>
#include <utility>

#include "dataprocessing/base/arr.h"
#include "dataprocessing/operand/algn.h"
#include "dataprocessing/operand/blocks.h"
#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/view_make.h"

namespace dataprocessing::detail {

/// Where a number lies.
struct pair_sNowhere {};

/// Satisfied by a number, and by where it lies.
template<class Operand>
concept pair_Number = std::same_as<Operand, pnum_cNumber> || std::same_as<Operand, pair_sNowhere>;

/// The operand that a result takes its kind and its calibration from: the first array, or a number
/// where there is none.
template<class A, class B>
const auto& pair_Model(const A& a, const B& b) noexcept {
    if constexpr (pair_Number<A>)
        return b;
    else
        return a;
}

/// True where there are arrays, and none has an element: nothing is computed then.
template<class A, class B>
bool pair_IsEmpty(const A& a, const B& b) noexcept {
    bool isEmpty = !pair_Number<A> || !pair_Number<B>;
    if constexpr (!pair_Number<A>)
        isEmpty = isEmpty && a.Count() == 0;
    if constexpr (!pair_Number<B>)
        isEmpty = isEmpty && b.Count() == 0;
    return isEmpty;
}

/// The type that two operands meet in: the largest of the wanted one and theirs. Throws the errors
/// of conv_Convert.
inline dtyp_cDataType pair_Type(dtyp_cDataType a, dtyp_cDataType b, dtyp_cDataType wanted) {
    const dtyp_cDataType type = algn_CommonType(a, b, wanted);
    conv_Check(a, type, conv_RealPart);
    conv_Check(b, type, conv_RealPart);
    return type;
}

/// What two aligned arrays without elements are.
enum pair_eNothing { pair_NothingIsFine, pair_NothingIsRefused };

/// A value where `axes` say, with elements of `type` that are not set.
inline pnum_cNumber pair_Unset(const pnum_cNumber&, dtyp_cDataType type, pair_sNowhere) {
    return pnum_cNumber(type);
}
template<class Array>
Array pair_Unset(const Array& model, dtyp_cDataType type, const algn_sAxes& axes) {
    return view_Shaped(model, type, axes.x, axes.y);
}

/// Where an operand lies.
inline pair_sNowhere pair_Axes(const pnum_cNumber&) noexcept { return {}; }
template<class Array>
algn_sAxes pair_Axes(const Array& array) noexcept {
    return algn_Axes(array);
}
/// How many elements lie there.
inline std::size_t pair_Count(pair_sNowhere) noexcept { return 1; }
inline std::size_t pair_Count(const algn_sAxes& axes) noexcept { return algn_Count(axes); }

template<class Operand>
using pair_tAxes = decltype(pair_Axes(std::declval<const Operand&>()));

/// One operand of two, seen in `type`, which conv_Check accepts, where `axes` say. It refers to the
/// operand.
template<class Operand>
class pair_cSide {
public:
    pair_cSide(const Operand& array, dtyp_cDataType type, const algn_sAxes& axes) noexcept {
        See(array, type, axes);
    }
    pair_cSide(const pair_cSide&) = delete;
    pair_cSide& operator=(const pair_cSide&) = delete;

    void See(const Operand& array, dtyp_cDataType type, const algn_sAxes& axes) noexcept {
        if (axes.x.IsWhole() && axes.y.IsWhole())
            source_ = blocks_cSource(array.Data(), array.DataType(), type);
        else
            source_ = blocks_cSource(view_.emplace(algn_View(array, type, axes)));
    }
    const blocks_cSource& Source() const noexcept { return source_; }

private:
    std::optional<view_cView> view_; // of elements that are not seen in their order
    blocks_cSource source_;
};
template<>
class pair_cSide<pnum_cNumber> {
public:
    pair_cSide(const pnum_cNumber& number, dtyp_cDataType type, pair_sNowhere) noexcept {
        if (number.DataType() == type) {
            source_ = blocks_cSource(number);
            return;
        }
        // In its place: a number that is copied just after it was written has to wait for itself.
        pnum_cNumber& converted = converted_.emplace(type);
        conv_Elements(number.Data(), number.DataType(), converted.Data(), type, 1, conv_RealPart);
        source_ = blocks_cSource(converted);
    }
    pair_cSide(const pair_cSide&) = delete;
    pair_cSide& operator=(const pair_cSide&) = delete;

    const blocks_cSource& Source() const noexcept { return source_; }

private:
    std::optional<pnum_cNumber> converted_; // of a number of another type
    blocks_cSource source_;
};

/// Two operands of one operation, as a loop reads them in their common type.
template<class A, class B>
class pair_cOperands {
public:
    /// Sees both where they lie.
    pair_cOperands(const A& a, const B& b, dtyp_cDataType type)
        : a_(a), b_(b), type_(type), axesA_(pair_Axes(a)), axesB_(pair_Axes(b)),
          first_(a, type, axesA_), second_(b, type, axesB_), isAligned_(IsAligned(axesA_, axesB_)) {
    }
    pair_cOperands(const pair_cOperands&) = delete;
    pair_cOperands& operator=(const pair_cOperands&) = delete;

    /// Whether elements of equal index belong together already.
    bool IsAligned() const noexcept { return isAligned_; }
    /// Brings two arrays to where they do. Throws the errors of algn_Align, and the index error
    /// when nothing is left and that is refused.
    void Align(pair_eNothing nothing) {
        if constexpr (areArrays)
            if (!isAligned_) {
                algn_Align(axesA_, axesB_);
                if (nothing == pair_NothingIsRefused && algn_Count(axesA_) == 0)
                    arr_IndexError(0, 0);
                first_.See(a_, type_, axesA_);
                second_.See(b_, type_, axesB_);
            }
    }

    /// Where the result lies.
    const auto& Axes() const noexcept { return pair_Model(axesA_, axesB_); }
    /// The number of elements of the result.
    std::size_t Count() const noexcept { return pair_Count(Axes()); }
    /// A result like `a` and `b` there, with elements of their type that are not set.
    auto Unset() const { return pair_Unset(pair_Model(a_, b_), type_, Axes()); }
    /// The first operand.
    const blocks_cSource& First() const noexcept { return first_.Source(); }
    /// The second operand.
    const blocks_cSource& Second() const noexcept { return second_.Source(); }

private:
    static constexpr bool areArrays = !pair_Number<A> && !pair_Number<B>;

    static bool IsAligned(const pair_tAxes<A>& a, const pair_tAxes<B>& b) noexcept {
        if constexpr (areArrays)
            return algn_IsAligned(a, b);
        else
            return true;
    }

    const A& a_;
    const B& b_;
    dtyp_cDataType type_;
    pair_tAxes<A> axesA_;
    pair_tAxes<B> axesB_;
    pair_cSide<A> first_;
    pair_cSide<B> second_;
    bool isAligned_;
};

} // namespace dataprocessing::detail
