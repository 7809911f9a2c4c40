#pragma once

/// @file
/// Typed scalar numbers.

#include <concepts>
#include <iosfwd>

#include "dataprocessing/base/dtyp.h"
#include "dataprocessing/dataprocessing_export.h"
#include "dataprocessing/valuemodel/conv.h"

/// A number of one of the ten element types, chosen at run time. It holds its element in place.
///
/// Numbers are made implicitly from the C++ types of codes 1 to 8 and from `comp_cComplex<double>`,
/// so that `array * 2.0` reads as it should; each makes a number of exactly its own type. Other
/// arithmetic types (long, bool, char) are refused at compile time rather than guessed at.
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
    void ConvertTo(dtyp_cDataType type, void* target, conv_eComplexConversion mode) const;

    alignas(16) unsigned char element_[16] = {};
    dtyp_cDataType type_;
};

/// Prints the value as a number (8-bit integers too), a complex one as "(re,im)".
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream, const pnum_cNumber& number);
