#pragma once

/// @file
/// Typed scalar numbers.

#include <complex>
#include <concepts>
#include <iosfwd>
#include <type_traits>
#include <utility>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/base/dtyp_range.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/conv.h"

namespace dataprocessing::detail {

template<class T>
concept pnum_WideInteger = std::same_as<T, long> || std::same_as<T, unsigned long> ||
    std::same_as<T, long long> || std::same_as<T, unsigned long long>;

template<class T>
concept pnum_Character = std::same_as<T, char> || std::same_as<T, wchar_t> ||
    std::same_as<T, char8_t> || std::same_as<T, char16_t> || std::same_as<T, char32_t>;

template<class T>
concept pnum_SingleComplex =
    std::same_as<T, comp_cComplex<float>> || std::same_as<T, std::complex<float>>;

/// A type code makes a zero of that type, explicitly.
template<class T>
concept pnum_Enumeration = std::is_enum_v<T> && !std::same_as<T, dtyp_eDataType>;

template<class T>
concept pnum_Integer128 = isInteger128<T>;

} // namespace dataprocessing::detail

/// A number of one of the ten element types, chosen at run time. It holds its element in place.
///
/// Numbers are made implicitly from C++ numbers, so that `array * 2.0` reads as it should. Those of
/// codes 1 to 8, `comp_cComplex<double>` and `std::complex<double>` make a number of exactly their
/// own type; `long double` a double, rounded; `long`, `long long` and their unsigned ones, such as
/// a `size_t`, an int32 or uint32, as far as they fit. Truths, characters, enumerators, integers of
/// 128 bits and complex values of single precision are refused by the compiler rather than guessed
/// at.
class DATAPROCESSING_EXPORT pnum_cNumber {
public:
    /// The floating type that real computations on numbers use at least.
    static constexpr dtyp_cDataType tValueNumber = dtyp_Float;
    /// The complex type that a number is widened to when its result leaves the reals.
    static constexpr dtyp_cDataType tComplexNumber = dtyp_ComplexDouble;

    /// The double 0.
    pnum_cNumber() noexcept : pnum_cNumber(0.0) {}
    /// A zero of the given type. A type outside the ten may be held: the operations refuse it.
    explicit pnum_cNumber(dtyp_cDataType type) noexcept : type_(type) {}
    /// A number of the given type with the element at `element`, which is copied; of an unknown
    /// type nothing is read.
    pnum_cNumber(dtyp_cDataType type, const void* element) noexcept;
    /// A number of the type of `value` with that value.
    template<dtyp_Element T>
    requires(!std::same_as<T, comp_cComplex<float>>) pnum_cNumber(T value)
    noexcept : pnum_cNumber(dtyp_Of<T>(), &value) {}
    /// An integer as an int32, an unsigned one as a uint32. Throws expt_cProgramException ("pnum",
    /// 1) when it does not fit.
    template<dataprocessing::detail::pnum_WideInteger T>
    pnum_cNumber(T value) : pnum_cNumber(Narrowed(value)) {}
    /// The nearest double.
    template<std::same_as<long double> T>
    pnum_cNumber(T value) noexcept : pnum_cNumber(static_cast<double>(value)) {}
    /// A complex double.
    template<std::same_as<std::complex<double>> T>
    pnum_cNumber(const T& value) noexcept : pnum_cNumber(comp_cComplex<double>(value)) {}
    template<std::same_as<bool> T>
    pnum_cNumber(T) = delete; ///< A truth is no number: say which one it stands for.
    template<dataprocessing::detail::pnum_Character T>
    pnum_cNumber(T) = delete; ///< A character is no number: convert it to int.
    template<dataprocessing::detail::pnum_SingleComplex T>
    pnum_cNumber(T) = delete; ///< A complex number is made of doubles: comp_cComplex<double>.
    template<dataprocessing::detail::pnum_Enumeration T>
    pnum_cNumber(T) = delete; ///< An enumerator or a byte is no number: convert it to one.
    template<dataprocessing::detail::pnum_Integer128 T>
    pnum_cNumber(T) = delete; ///< An integer of 128 bits fits no number: convert it to one.

    /// The element type.
    dtyp_cDataType DataType() const noexcept { return type_; }
    /// The element: SizeOf() bytes, aligned for its type; real part first when complex.
    void* Data() & noexcept { return element_; }
    /// The element, for reading.
    const void* Data() const& noexcept { return element_; }
    /// A temporary number takes its element with it.
    void Data() const&& = delete;

    /// The value as a `T`, by the rules of conv_Convert. Throws expt_cProgramException ("conv", 1)
    /// when the number's type is not one of the ten.
    template<dtyp_Element T>
    T As(conv_eComplexConversion mode = conv_RealPart) const {
        T value;
        ConvertTo(dtyp_Of<T>(), &value, mode);
        return value;
    }

private:
    template<class T>
    using tNarrow = std::conditional_t<std::is_signed_v<T>, int, unsigned int>;

    template<class T>
    DATAPROCESSING_NO_EXPORT static tNarrow<T> Narrowed(T value) {
        if (!std::in_range<tNarrow<T>>(value)) [[unlikely]]
            RefuseWide();
        return static_cast<tNarrow<T>>(value);
    }
    [[noreturn]] static void RefuseWide();
    void ConvertTo(dtyp_cDataType type, void* target, conv_eComplexConversion mode) const;

    alignas(16) unsigned char element_[16] = {};
    dtyp_cDataType type_;
};

/// Prints the value as a number (8-bit integers too), a complex one as "(re,im)".
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream, const pnum_cNumber& number);
