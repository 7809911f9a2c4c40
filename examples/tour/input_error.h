#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tour {

/// Where something stands in a file of text, from 1.
struct Place {
    long long line;
    std::size_t column;
};

/// Something that the user gave and that cannot be used: an argument or a file. The text is for
/// people. Nothing has been written when it is thrown.
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    /// "file:line:column: problem".
    InputError(const std::string& file, Place place, const std::string& problem);
};

/// `text` with everything that could break the line or the terminal replaced.
std::string printable(std::string_view text);

/// The same, shortened to `length` characters, in quotes.
std::string quoted(std::string_view text, std::size_t length = 24);

} // namespace tour
