#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "dataprocessing/geometry/trns.h"

namespace {

std::string Written(const trns_cCoordTransformation& transformation) {
    std::ostringstream bytes;
    tgio_cBinary_ostream out(bytes);
    if (!out.Write(transformation, 300))
        std::abort();
    return bytes.str();
}

} // namespace

// Whatever was read writes, and reads back to the same.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream bytes(std::string(reinterpret_cast<const char*>(data), size));
    tgio_cBinary_istream in(bytes);
    trns_cCoordTransformation transformation;
    if (!in.Read(transformation))
        return 0;
    const std::string once = Written(transformation);
    std::istringstream again(once);
    tgio_cBinary_istream back(again);
    trns_cCoordTransformation copy(1, 2);
    if (!back.Read(copy) || Written(copy) != once)
        std::abort();
    return 0;
}
