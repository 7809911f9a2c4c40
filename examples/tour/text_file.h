#pragma once

#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "input_error.h"

namespace tour {

/// A part of a line, and the column at which it stands, from 1.
struct Field {
    std::string_view text;
    std::size_t column;
};

/// A line that begins with a #, and its number.
struct CommentLine {
    std::string text;
    long long number;
};

/// A text file, read line by line, never more of a line than a line may have.
class TextFile {
public:
    explicit TextFile(const std::string& file);

    /// Goes to the next line; false at the end.
    bool Next();
    /// The line, without its end; at the end of the file the last one.
    std::string_view Line() const { return line_; }
    /// The number of the line, from 1.
    long long Number() const { return number_ > 0 ? number_ : 1; }
    const std::string& Name() const { return file_; }

    [[noreturn]] void Fail(std::size_t column, const std::string& problem) const;
    /// Tells a problem of the end of the file.
    [[noreturn]] void FailAtEnd(const std::string& problem) const;
    /// "found 'this', expected that".
    [[noreturn]] void Fail(const Field& found, const std::string& expected) const;

private:
    std::string file_;
    std::ifstream stream_;
    std::string line_;
    long long number_ = 0;
};

std::string_view trimmed(std::string_view text);
std::string lowered(std::string_view text);

/// The fields of a line: between commas, semicolons and blanks, without quotes. Separators at the
/// end separate nothing; a field between two commas is empty.
std::vector<Field> fieldsOf(std::string_view line);

/// Whether the text is a number and nothing else.
bool isNumber(std::string_view text);

/// The number that a field of a line holds.
double numberIn(const Field& field, const std::string& file, long long line,
                const std::string& expected);
/// The number that a field of the line holds at which the file is.
double numberIn(const Field& field, const TextFile& file, const std::string& expected);

} // namespace tour
