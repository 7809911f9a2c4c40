#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "tests/valuemodel/tgio_sample.h"

namespace {

std::string Written(const cSample& sample) {
    std::ostringstream bytes;
    tgio_cBinary_ostream out(bytes);
    if (!sBinary::Write(out, sample, childField))
        std::abort();
    return bytes.str();
}

} // namespace

// Whatever was read writes, and reads back to the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);

    std::istringstream skipped(input);
    tgio_cBinary_istream skipping(skipped);
    while (skipping.NextField())
        skipping.SkipObject();

    std::istringstream bytes(input);
    tgio_cBinary_istream in(bytes);
    cSample sample;
    if (!in.Read(sample))
        return 0;
    const std::string once = Written(sample);
    std::istringstream again(once);
    tgio_cBinary_istream back(again);
    cSample copy;
    if (!back.Read(copy) || Written(copy) != once)
        std::abort();
    return 0;
}
