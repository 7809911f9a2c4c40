#pragma once

#include <string>
#include <vector>

namespace tour {

/// Numbers stand at the right of their column, names at the left.
enum class Column { name, number };

/// Rows of cells under a heading.
struct Table {
    std::string caption;
    std::vector<std::string> heading;
    std::vector<Column> columns;
    std::vector<std::vector<std::string>> rows = {};
};

} // namespace tour
