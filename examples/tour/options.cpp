#include "options.h"

#include <string_view>

#include "input_error.h"

namespace tour {

const char usage[] =
    R"(usage: tour [--spectrum FILE] [--image FILE] [--out DIR]

A walk through DataProcessing on a spectrum and an image: text here, and a report with
pictures in DIR/report.html, one file that needs no other.
Without files it measures a sample of its own making, the same at every run.

  --spectrum FILE  a text file with one count per line, or one "x,y" per line with evenly
                   spaced x; everything from a # to the end of the line is a comment
  --image FILE     a PGM image (P2 or P5, 8 or 16 bit)
  --out DIR        where the report goes (default: tour-out); it is made if it is missing
  --help           this text

Exit codes: 0 done; 1 something went wrong on the way; 2 an argument or a file is not usable,
and then nothing has been written.
)";

Options parseOptions(int count, const char* const* arguments) {
    Options options;
    for (int i = 0; i < count; ++i) {
        const std::string_view argument = arguments[i];
        const std::size_t equals = argument.find('=');
        const std::string_view name = argument.substr(0, equals);
        std::string* value = nullptr;
        if (name == "--spectrum")
            value = &options.spectrum;
        else if (name == "--image")
            value = &options.image;
        else if (name == "--out")
            value = &options.out;
        else if (argument == "--help" || argument == "-h") {
            options.help = true;
            continue;
        } else
            throw InputError("unknown argument " + quoted(argument, 60) +
                             "; --help says what there is");

        if (equals != std::string_view::npos)
            *value = argument.substr(equals + 1);
        else if (++i < count)
            *value = arguments[i];
        else
            throw InputError(std::string(name) + " needs a value");
        if (value->empty())
            throw InputError(std::string(name) + " needs a value that is not empty");
    }
    return options;
}

} // namespace tour
