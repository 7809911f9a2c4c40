#include "dataprocessing/filter/smth.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/filter/smth_line.h"
#include "dataprocessing/filter/smth_polynomials.h"
#include "dataprocessing/filter/smth_weights.h"
#include "dataprocessing/valuemodel/conv_check.h"

namespace dataprocessing::detail {

namespace {

smth_sSource sourceOf(const darr_c1DArray& array) {
    return {array.Data(), array.DataType(), array.Size(), 1};
}
smth_sSource sourceOf(const darr_c2DArray& array) {
    return {array.Data(), array.DataType(), array.SizeX(), array.SizeY()};
}

darr_c1DArray resultOf(const darr_c1DArray& array) {
    return {array.Size(), smth_ResultType(array.DataType()), array.Cal()};
}
darr_c2DArray resultOf(const darr_c2DArray& array) {
    return {array.SizeX(), array.SizeY(), smth_ResultType(array.DataType()), array.Cal()};
}

void requireKnown(dtyp_cDataType type) {
    if (!type.IsKnown())
        conv_Check(type, dtyp_Double, conv_RealPart);
}

template<class Array>
Array averaged(const Array& array, const std::vector<double>& weightsX,
               const std::vector<double>& weightsY) {
    requireKnown(array.DataType());
    Array result = resultOf(array);
    if (array.Count() > 0)
        smth_Combine(sourceOf(array), weightsX, weightsY, result.Data());
    return result;
}

const std::vector<double> alone = {1.0};

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

darr_c1DArray smth_SavitzkyGolay(const darr_c1DArray& array, int width, int order, int derivative) {
    smth_CheckPolynomial(width, order, derivative);
    requireKnown(array.DataType());
    if (array.Size() == 0)
        return resultOf(array);
    if (array.Size() < width)
        arr_SizeError(array.Size(), width);
    const long double scale = smth_DerivativeScale(array.Cal().Delta(), derivative);
    const dtyp_cDataType type = smth_ResultType(array.DataType());
    if (derivative > order)
        return {array.Size(), pnum_cNumber(type), array.Cal()};

    std::vector<double> weights;
    for (const long double weight : smth_CentralWeights(width, order, derivative))
        weights.push_back(static_cast<double>(weight * scale));
    darr_c1DArray result = averaged(array, weights, alone);
    const auto fitEnd = [&](int first, int place, int count) {
        const darr_c1DArray part =
            conv_Convert(array.Selection(first, first + width), dtyp_ComplexDouble);
        const std::vector<comp_cComplex<double>> values =
            smth_FittedValues(part.Elements<comp_cComplex<double>>(), order, derivative, scale);
        for (int i = place; i < place + count; ++i)
            result.SetNumber(first + i, values[static_cast<std::size_t>(i)]);
    };
    fitEnd(0, 0, width / 2);
    fitEnd(array.Size() - width, width - width / 2, width / 2);
    return result;
}

darr_c1DArray smth_Gauss(const darr_c1DArray& array, double sigma) {
    return averaged(array, smth_GaussWeights(sigma, array.Cal().Delta()), alone);
}

darr_c2DArray smth_Gauss(const darr_c2DArray& array, double sigmaX, double sigmaY) {
    return averaged(array, smth_GaussWeights(sigmaX, array.Cal().X().Delta()),
                    smth_GaussWeights(sigmaY, array.Cal().Y().Delta()));
}
