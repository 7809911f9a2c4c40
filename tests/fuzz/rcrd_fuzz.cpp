#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "dataprocessing/fitting/rcrd_fits.h"
#include "dataprocessing/valuemodel/rcrd.h"

namespace {

template<class Value>
std::string saved(const Value& value, rcrd_eForm form) {
    std::ostringstream bytes;
    rcrd_Save(bytes, value, form);
    return bytes.str();
}

/// Whatever bytes are loaded or refused as a record; what was loaded saves, and loads again to the
/// same.
template<class Value>
void loadAnything(const std::string& input, const Value& initial = {}) {
    std::istringstream bytes(input);
    Value value(initial);
    try {
        rcrd_Load(bytes, value);
    } catch (const expt_cUserException&) {
        return;
    }
    for (const rcrd_eForm form : {rcrd_Binary, rcrd_Text}) {
        const std::string once = saved(value, form);
        std::istringstream again(once);
        Value copy(initial);
        rcrd_Load(again, copy);
        if (saved(copy, form) != once)
            std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    loadAnything<pnum_cNumber>(input);
    loadAnything<parr_c1DNumberArray>(input);
    loadAnything<parr_c2DNumberArray>(input);
    loadAnything<darr_c1DArray>(input);
    loadAnything<darr_c2DArray>(input);
    loadAnything<barr_c1DBoolArray>(input);
    loadAnything<barr_c2DBoolArray>(input);
    loadAnything<cal_c1DArrayCal>(input);
    loadAnything<cal_c2DArrayCal>(input);
    loadAnything<rnge_c1DRange>(input);
    loadAnything<rnge_c2DRange>(input);
    loadAnything<nlsq_sResult>(input);
    loadAnything<pkmd_sResult>(input);
    loadAnything(input, gsft_cGaussian(1, 1, 1));
    loadAnything(input, gsft_cResolution(1, 1));
    dasl_c1DDataArraySelection selection(rnge_IndexNearest);
    loadAnything(input, plft_c1DPolyFittingFunction(1, selection));
    loadAnything(input, plft_c1DOffsetPolyFittingFunction(1, selection));
    loadAnything(input, pwft_cPowerLawFittingFunction(1, selection));
    loadAnything(input, pwft_cMultiPowerLawFitFunc(1, selection));
    loadAnything<pkmd_cModel>(input);
    return 0;
}
