#include "input_file.h"

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "input_error.h"

namespace tour {

std::ifstream openInput(const std::string& file) {
    std::error_code ignored;
    if (std::filesystem::is_directory(file, ignored))
        throw InputError(file + ": cannot be read: it is a directory");
    errno = 0;
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw InputError(file + ": cannot be opened: " + std::generic_category().message(errno));
    return stream;
}

} // namespace tour
