#include "dataprocessing/base/arr.h"

#include <limits>
#include <string>
#include <utility>

namespace {

constexpr const char unit[] = "arr";
constexpr int indexLine = 1;
constexpr int sizeLine = 2;

/// Of an index of any type of integer.
template<class T>
std::string indexText(T index, long long size) {
    return size < 0 ? "Index " + std::to_string(index) + " is outside its array."
                    : "Index " + std::to_string(index) + " is outside an array of size " +
                          std::to_string(size) + ".";
}

} // namespace

arr_cIndexException::arr_cIndexException()
    : expt_cProgramException(unit, indexLine, "Index outside its array.") {}

arr_cIndexException::arr_cIndexException(long long index, long long size)
    : expt_cProgramException(unit, indexLine, indexText(index, size)), index_(index),
      size_(size < 0 ? -1 : size) {}

arr_cIndexException::arr_cIndexException(long long index, long long size,
                                         const str_cString& message)
    : expt_cProgramException(unit, indexLine, message), index_(index), size_(size < 0 ? -1 : size) {
}

arr_cIndexException::~arr_cIndexException() = default;

arr_cSizeException::arr_cSizeException()
    : expt_cProgramException(unit, sizeLine, "Size refused.") {}

arr_cSizeException::arr_cSizeException(long long size)
    : expt_cProgramException(unit, sizeLine,
                             "Size " + std::to_string(size) + " is outside 0 to 2147483647."),
      size_(size) {}

arr_cSizeException::arr_cSizeException(long long size, long long expected)
    : expt_cProgramException(unit, sizeLine,
                             "Size " + std::to_string(size) + " where " + std::to_string(expected) +
                                 " is needed."),
      size_(size), expected_(expected) {}

arr_cSizeException::arr_cSizeException(long long size, long long expected,
                                       const str_cString& message)
    : expt_cProgramException(unit, sizeLine, message), size_(size), expected_(expected) {}

arr_cSizeException::~arr_cSizeException() = default;

void arr_IndexError() { throw arr_cIndexException(); }
void arr_IndexError(long long index, long long size) { throw arr_cIndexException(index, size); }
void arr_WideIndexError(unsigned long long index, long long size) {
    constexpr long long most = std::numeric_limits<long long>::max();
    throw arr_cIndexException(std::cmp_greater(index, most) ? most : static_cast<long long>(index),
                              size, indexText(index, size));
}
void arr_SizeError() { throw arr_cSizeException(); }
void arr_SizeError(long long size) { throw arr_cSizeException(size); }
void arr_SizeError(long long size, long long expected) { throw arr_cSizeException(size, expected); }
