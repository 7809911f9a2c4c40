#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

/// Where a measured or certified file lies, beside the project and never in it.
inline std::filesystem::path measuredFile(const std::string& name) {
    return std::filesystem::path(__FILE__).parent_path() / "../../../shared/data" / name;
}

/// The counts of a measured spectrum; none where it is absent.
inline std::vector<double> measuredCounts(const std::string& name) {
    std::ifstream file(measuredFile("spectra/" + name + ".csv"));
    std::vector<double> counts;
    for (std::string line; std::getline(file, line);)
        if (!line.starts_with("#"))
            counts.push_back(std::stod(line));
    return counts;
}
