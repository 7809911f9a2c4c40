#include "dataprocessing/kernels/arit.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/base/dtyp_visit.h"
#include "dataprocessing/kernels/arit_types.h"
#include "dataprocessing/kernels/elementary/elem.h"

namespace dataprocessing::detail {

namespace {

// The power of integers and complex values, which is a library call per element and so the same on
// every level.
struct arit_Raising {
    template<class T>
    static T of(const T& a, const T& b) {
        if constexpr (arit_complex<T>) {
            return pow(a, b);
        } else {
            const double power = std::pow(static_cast<double>(a), static_cast<double>(b));
            return std::fabs(power) < 0x1p63 ? static_cast<T>(static_cast<long long>(power)) : T(0);
        }
    }
};

// The power of real values, which has its loops elsewhere.
template<class T, form_eOperands form>
bool arit_RealPowerLoop(const void* a, const void* b, void* result, std::size_t count) {
    elem_Evaluate<T>(elem_Pow, {static_cast<const T*>(a), form != form_NumberFirst},
                     {static_cast<const T*>(b), form != form_NumberSecond}, static_cast<T*>(result),
                     count);
    return false;
}
template<class T>
arit_Loop arit_RealPowerOf(form_eOperands form) {
    switch (form) {
    case form_NumberFirst:
        return &arit_RealPowerLoop<T, form_NumberFirst>;
    case form_Arrays:
        return &arit_RealPowerLoop<T, form_Arrays>;
    case form_NumberSecond:
        return &arit_RealPowerLoop<T, form_NumberSecond>;
    }
    return nullptr;
}

} // namespace

} // namespace dataprocessing::detail

#define LEVEL_KERNELS "dataprocessing/kernels/arit.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

namespace {

template<class T, class A, class B>
arit_Loop arit_Find(int operation, form_eOperands form) {
    if (operation != arit_Power)
        return LEVEL_SELECT(arit_LoopOf<T, A, B>)(operation, form);
    if constexpr (!arit_hasLoops<T> || !std::is_same_v<T, A> || !std::is_same_v<T, B>)
        return nullptr;
    else if constexpr (std::is_floating_point_v<T>)
        return arit_RealPowerOf<T>(form);
    else
        return level_baseline::arit_FormOf<arit_Raising, T, T, T>(form);
}

} // namespace

arit_Loop arit_LoopFor(dtyp_cDataType type, dtyp_cDataType storedA, dtyp_cDataType storedB,
                       int operation, form_eOperands form) noexcept {
    arit_Loop loop = nullptr;
    dtyp_Visit(type, [&]<class T>(dtyp_Tag<T>) {
        if (storedA == type && storedB == type) {
            loop = arit_Find<T, T, T>(operation, form);
            return;
        }
        dtyp_Visit(storedA, [&]<class A>(dtyp_Tag<A>) {
            if constexpr (std::is_same_v<T, A> || arit_widens<T, A>)
                dtyp_Visit(storedB, [&]<class B>(dtyp_Tag<B>) {
                    if constexpr (std::is_same_v<T, B> || arit_widens<T, B>)
                        loop = arit_Find<T, A, B>(operation, form);
                });
        });
    });
    return loop;
}

} // namespace dataprocessing::detail
