#pragma once

/// @file
/// The form of a loop over two operands.

namespace dataprocessing::detail {

/// Which operands are arrays; the other one is a single element. A first operand that is none
/// decides the form, whatever the second is.
enum form_eOperands : int { form_NumberFirst, form_Arrays, form_NumberSecond };

/// The form for operands of which these are arrays.
constexpr form_eOperands form_Of(bool firstIsArray, bool secondIsArray) noexcept {
    return !firstIsArray ? form_NumberFirst : secondIsArray ? form_Arrays : form_NumberSecond;
}

} // namespace dataprocessing::detail
