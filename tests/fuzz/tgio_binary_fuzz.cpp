#include "tests/fuzz/tgio_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readAnything<sBinary, tgio_cBinary_istream, tgio_cBinary_ostream>(data, size);
    return 0;
}
