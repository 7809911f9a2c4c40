#include "tests/support/bounds.h"

#include <fstream>
#include <gtest/gtest.h>
#include <string>

double statedBound(std::string_view result) {
    std::ifstream page(DATAPROCESSING_NUMERICS);
    bool isInTable = false;
    for (std::string line; std::getline(page, line);) {
        isInTable = isInTable || line == "## Bounds";
        if (!isInTable || line.find("| " + std::string(result)) != 0)
            continue;
        const std::size_t cell = line.find('|', 1);
        return std::stod(line.substr(cell + 1));
    }
    ADD_FAILURE() << "docs/numerics.md states no bound of " << result;
    return 0;
}
