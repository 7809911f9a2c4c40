#pragma once

#include <string>

namespace tour {

/// What the command line asks for. An empty file name means the sample.
struct Options {
    std::string spectrum;
    std::string image;
    std::string out = "tour-out";
    bool help = false;
};

/// Reads the arguments after the program's name; throws InputError.
Options parseOptions(int count, const char* const* arguments);

/// What --help prints.
extern const char usage[];

} // namespace tour
