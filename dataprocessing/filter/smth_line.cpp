#include "dataprocessing/filter/smth_line.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "dataprocessing/filter/smth_strip.h"
#include "dataprocessing/kernels/convert.h"

#define LEVEL_KERNELS "dataprocessing/filter/smth_kernels.inc"
#include "dataprocessing/platform/level_each.h"

namespace dataprocessing::detail {

void smth_SumRows(const double* const* rows, const double* weights, std::size_t count,
                  double* target, std::size_t size) {
    LEVEL_SELECT(smth_SumRows)(rows, weights, count, target, size);
}

void smth_Combine(const smth_sSource& source, std::span<const double> weightsX,
                  std::span<const double> weightsY, void* target) {
    const int marginX = static_cast<int>(weightsX.size() / 2);
    const int marginY = static_cast<int>(weightsY.size() / 2);
    const dtyp_cDataType type = smth_ResultType(source.type);
    const dtyp_cDataType numbers = type.IsComplex() ? dtyp_ComplexDouble : dtyp_Double;
    const std::size_t parts = type.IsComplex() ? 2 : 1;
    const auto placeOf = [&](int x, int y) {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(source.sizeX) +
               static_cast<std::size_t>(x);
    };
    const auto fetch = [&](int x, int y, int count, double* to) {
        conv_Elements(static_cast<const unsigned char*>(source.elements) +
                          placeOf(x, y) * source.type.SizeOf(),
                      source.type, to, numbers, static_cast<std::size_t>(count), conv_RealPart);
    };
    std::vector<const double*> rows(std::max(weightsX.size(), weightsY.size()));
    std::vector<double> combined;
    std::vector<double> result;
    smth_ForEachStrip(source.sizeX, marginX, [&](int begin, int end) {
        smth_cStrip<double> strip(source.sizeX, source.sizeY, begin, end, marginX, marginY, parts);
        const std::size_t count = static_cast<std::size_t>(end - begin);
        combined.resize(marginY > 0 ? strip.Width() : 0);
        result.resize(count * parts);
        for (int y = 0; y < source.sizeY; ++y) {
            const double* line = combined.data();
            if (marginY > 0) {
                for (std::size_t k = 0; k < weightsY.size(); ++k)
                    rows[k] = strip.Row(
                        smth_Mirrored(static_cast<long long>(k) + y - marginY, source.sizeY),
                        fetch);
                smth_SumRows(rows.data(), weightsY.data(), weightsY.size(), combined.data(),
                             combined.size());
            } else {
                line = strip.Row(y, fetch);
            }
            for (std::size_t k = 0; k < weightsX.size(); ++k)
                rows[k] = line + k * parts;
            smth_SumRows(rows.data(), weightsX.data(), weightsX.size(), result.data(),
                         result.size());
            conv_Elements(result.data(), numbers,
                          static_cast<unsigned char*>(target) + placeOf(begin, y) * type.SizeOf(),
                          type, count, conv_RealPart);
        }
    });
}

} // namespace dataprocessing::detail
