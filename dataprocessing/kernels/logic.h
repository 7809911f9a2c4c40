#pragma once

/// @file
/// Loops of boolean logic over bytes: any byte but 0 is true, and results are 0 or 1.

#include <cstddef>

namespace dataprocessing::detail {

/// A loop that writes `count` bytes to `result`, which overlaps neither operand.
using logic_Loop = void (*)(const unsigned char* a, const unsigned char* b, unsigned char* result,
                            std::size_t count);

/// The loop that is true where both are.
logic_Loop logic_Both() noexcept;
/// The loop that is true where at least one is.
logic_Loop logic_Either() noexcept;
/// The loop that is true where exactly one is.
logic_Loop logic_OneOf() noexcept;
/// Writes `count` bytes: true where `a` is false.
void logic_Not(const unsigned char* a, unsigned char* result, std::size_t count) noexcept;

} // namespace dataprocessing::detail
