// Numbers to and from tagged streams in memory, arrays to and from files. The peer is streams.py.
//
// usage: bench_streams DIRECTORY   (where samples of the results go)

#include <cstddef>
#include <fstream>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "bench/bench.h"
#include "bench/measure.h"
#include "dataprocessing/dataprocessing.h"

namespace {

constexpr std::size_t count = 100000;

/// Values of which most need all of their digits.
std::vector<double> values() {
    std::vector<double> all;
    for (std::size_t i = 0; i < count; ++i)
        all.push_back(bench::real(static_cast<std::uint32_t>(i), 1) / 3.0);
    return all;
}

/// All values as fields named (or tagged) `label`.
template<class Stream, class Label>
std::string written(const std::vector<double>& all, const Label& label) {
    std::ostringstream target;
    Stream stream(target);
    for (const double value : all)
        stream.Write(value, label);
    return target.str();
}

template<class Stream>
std::vector<double> readAll(const std::string& text) {
    std::istringstream source(text);
    Stream stream(source);
    std::vector<double> all(count);
    for (double& value : all)
        stream.Read(value);
    return all;
}

template<class Output, class Input, class Label>
void measure(const std::string& directory, const std::string& form, const Label& label) {
    const std::vector<double> all = values();
    const std::string text = written<Output>(all, label);
    bench::leave(directory, "write_" + form, count, std::as_bytes(std::span(text)));
    bench::printTime("write_" + form, count,
                     bench::nanoseconds([&] { bench::use(written<Output>(all, label)); }));
    bench::measureFigures(directory, "read_" + form, count, [&] { return readAll<Input>(text); });
}

/// An array of 16 MiB as a record in a file.
void measureArray(const std::string& directory) {
    constexpr std::size_t large = std::size_t{1} << 21;
    std::vector<double> elements;
    for (std::size_t i = 0; i < large; ++i)
        elements.push_back(bench::real(static_cast<std::uint32_t>(i), 1));
    const darr_c1DArray array(elements);
    const std::string path = directory + "/array.rec";
    const auto save = [&] {
        std::ofstream file(path, std::ios::binary);
        rcrd_Save(file, array);
    };
    const auto load = [&] {
        std::ifstream file(path, std::ios::binary);
        darr_c1DArray loaded;
        rcrd_Load(file, loaded);
        return loaded;
    };
    bench::printTime("save_array", large, bench::nanoseconds(save));
    bench::measure<double>(directory, "load_array", load);
}

} // namespace

int main(int argc, char** argv) {
    const std::string directory = argc > 1 ? argv[1] : ".";
    bench::printSelf();
    measure<tgio_cASCII_ostream, tgio_cASCII_istream>(directory, "text", str_cString("Value"));
    measure<tgio_cBinary_ostream, tgio_cBinary_istream>(directory, "binary",
                                                        static_cast<unsigned short>(7));
    measureArray(directory);
}
