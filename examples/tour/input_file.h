#pragma once

#include <fstream>
#include <string>

namespace tour {

/// Opens a file for reading; an InputError says why it cannot be.
std::ifstream openInput(const std::string& file);

} // namespace tour
