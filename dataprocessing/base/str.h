#pragma once

/// @file
/// The text type that names, units and messages are handed around in.

#include <compare>
#include <iosfwd>
#include <string>
#include <string_view>

#include "dataprocessing/dataprocessing_export.h"

/// An immutable-by-convention text value. It compares with and prints as text. Made from a
/// `std::string` or a view it may hold zeros: they count, compare and print like other characters,
/// but who reads Text() as a zero-terminated text stops at the first.
class DATAPROCESSING_EXPORT str_cString {
public:
    /// The empty text.
    str_cString() = default;
    /// A copy of a zero-terminated text; a null pointer gives the empty text.
    str_cString(const char* text);
    /// A copy of `text`.
    str_cString(std::string text) noexcept;
    /// A copy of the characters of `text`.
    str_cString(std::string_view text);

    /// The characters, zero-terminated; valid while this value lives and is not assigned to.
    const char* Text() const noexcept { return text_.c_str(); }
    /// The number of characters, without the terminating zero.
    int Length() const noexcept { return static_cast<int>(text_.size()); }

    /// Texts compare character by character.
    friend bool operator==(const str_cString&, const str_cString&) = default;
    /// Texts are ordered lexicographically.
    friend std::strong_ordering operator<=>(const str_cString&, const str_cString&) = default;

    /// The empty text, for use as a default name.
    static const str_cString Null;

private:
    std::string text_;
};

/// Prints the characters.
DATAPROCESSING_EXPORT std::ostream& operator<<(std::ostream& stream, const str_cString& text);
