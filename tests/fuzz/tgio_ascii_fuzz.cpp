#include "tests/fuzz/tgio_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    readAnything<sAscii, tgio_cASCII_istream, tgio_cASCII_ostream>(data, size);
    return 0;
}
