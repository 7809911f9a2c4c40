#include "dataprocessing/fourier/spectrum.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

#include "dataprocessing/binary/bnry.h"
#include "dataprocessing/fourier/ccs.h"
#include "dataprocessing/fourier/fft_kernels.h"
#include "dataprocessing/kernels/arit.h"
#include "dataprocessing/kernels/radix.h"
#include "dataprocessing/kernels/rfft.h"
#include "dataprocessing/unary/unry.h"

namespace dataprocessing::detail {

namespace {

using Complex = comp_cComplex<float>;

cal_cArrayCal transformedAxis(int size, const cal_cArrayCal& cal, four_eDirection direction) {
    return {0, 1.0 / (size * cal.Delta()), direction == four_Forward ? size / 2 : 0};
}
void setTransformedCal(darr_c2DArray& array, const cal_cArrayCal& x, const cal_cArrayCal& y,
                       four_eDirection direction) {
    array.SetCal({transformedAxis(array.SizeX(), x, direction),
                  transformedAxis(array.SizeY(), y, direction)});
}

// ---- Images -------------------------------------------------------------------------------------

darr_c2DArray imageOf(int width, int height, dtyp_cDataType type) {
    return {width, height, type, cal_c2DArrayCal::Default};
}

template<class T>
rfft_sRows<T> rows(T* first, const darr_c2DArray& image) {
    const std::size_t width = static_cast<std::size_t>(image.SizeX());
    return {first, width, static_cast<std::size_t>(image.SizeY()), width};
}

/// What both transforms between real images and packed spectra are scaled by, beside their plain
/// sums. The forward one is scaled by the squared sizes.
float imageScale(const darr_c2DArray& image, four_eDirection direction) {
    const double count = static_cast<double>(image.SizeX()) * image.SizeY();
    return static_cast<float>(direction == four_Forward ? 2.0 / (count * count) : 1.0);
}

/// The centred spectrum of real elements, into `spectrum`. They may be those of `packed`, which is
/// written over.
void transformReal(const float* elements, darr_c2DArray& packed, four_eDirection direction,
                   darr_c2DArray& spectrum) {
    float* const target = packed.Elements<float>().data();
    rfft_Pack(rows(elements, packed), rows(target, packed), -direction,
              imageScale(packed, direction));
    four_UnpackCcs(target, packed.SizeX(), packed.SizeY(), spectrum.Elements<Complex>().data());
}

/// The real image whose centred spectrum this is.
darr_c2DArray transformPacked(const Complex* spectrum, int width, int height,
                              four_eDirection direction) {
    darr_c2DArray image = imageOf(width, height, dtyp_Float);
    float* const elements = image.Elements<float>().data();
    four_PackCcs(spectrum, width, height, elements);
    const rfft_sRows<float> all = rows(elements, image);
    rfft_Unpack(rows<const float>(elements, image), all, -direction, imageScale(image, direction));
    return image;
}

/// Row 0 of the centred spectrum of a real image, v = -H/2, is conjugate symmetric.
bool isOfRealImage(const Complex* row, int width) {
    for (int i = 1; i < width / 2; ++i)
        if (!(row[i].re == row[width - i].re && row[i].im == -row[width - i].im))
            return false;
    return true;
}

/// The order of the sizes is the convention of this transform. For images that are not square its
/// lines are not the rows.
void transformGeneral(darr_c2DArray& array, four_eDirection direction) {
    four_RadixTwoFFTnD(array.Elements<Complex>().data(), std::array{array.SizeX(), array.SizeY()},
                       direction);
}

darr_c2DArray transformed(const four_sOperand<darr_c2DArray>& operand, four_eDirection direction) {
    const int width = operand.x.Count();
    const int height = operand.y.Count();
    if (operand.array.DataType().IsReal()) {
        const void* elements = operand.Direct(dtyp_Float);
        // First what outlives the packed image, so that it can take the storage of a result before
        // it.
        darr_c2DArray spectrum = imageOf(width, height, dtyp_ComplexFloat);
        darr_c2DArray packed = imageOf(width, height, dtyp_Float);
        if (elements == nullptr) {
            operand.Fetch(dtyp_Float, packed.Data());
            elements = packed.Data();
        }
        transformReal(static_cast<const float*>(elements), packed, direction, spectrum);
        return spectrum;
    }
    const Complex* const direct = static_cast<const Complex*>(operand.Direct(dtyp_ComplexFloat));
    if (direct != nullptr && isOfRealImage(direct, width))
        return transformPacked(direct, width, height, direction);
    darr_c2DArray result = imageOf(width, height, dtyp_ComplexFloat);
    operand.Fetch(dtyp_ComplexFloat, result.Data());
    const Complex* const elements = result.Elements<Complex>().data();
    if (isOfRealImage(elements, width))
        return transformPacked(elements, width, height, direction);
    transformGeneral(result, direction);
    return result;
}

darr_c2DArray transformedTaken(darr_c2DArray array, four_eDirection direction) {
    if (array.DataType() == dtyp_Float) {
        darr_c2DArray spectrum = imageOf(array.SizeX(), array.SizeY(), dtyp_ComplexFloat);
        const float* const elements = array.Elements<float>().data();
        transformReal(elements, array, direction, spectrum);
        return spectrum;
    }
    if (array.DataType() != dtyp_ComplexFloat)
        return transformed(four_sOperand<darr_c2DArray>(array), direction);
    const Complex* const elements = array.Elements<Complex>().data();
    if (isOfRealImage(elements, array.SizeX()))
        return transformPacked(elements, array.SizeX(), array.SizeY(), direction);
    transformGeneral(array, direction);
    return array;
}

// ---- Lines --------------------------------------------------------------------------------------

void transformLine(const Complex* elements, darr_c1DArray& result, four_eDirection direction) {
    radix_Line(elements, result.Elements<Complex>().data(), static_cast<std::size_t>(result.Size()),
               direction, direction == four_Forward ? radix_Centred : radix_Natural);
}

// ---- Products -----------------------------------------------------------------------------------

/// Multiplies spectra by what `prepare(first, count, factors)` finds for the elements from `first`
/// on, in blocks that stay in the nearest cache.
template<class Array, class Prepare>
void multiply(Array& spectrum, const Prepare& prepare) {
    constexpr std::size_t block = 512;
    alignas(64) Complex factors[block];
    alignas(64) Complex products[block];
    const arit_Loop loop = arit_LoopFor(dtyp_ComplexFloat, dtyp_ComplexFloat, dtyp_ComplexFloat,
                                        arit_Multiply, form_Arrays);
    const auto elements = spectrum.template Elements<Complex>();
    for (std::size_t first = 0; first < elements.size(); first += block) {
        const std::size_t count = std::min(block, elements.size() - first);
        prepare(first, count, factors);
        loop(elements.data() + first, factors, products, count);
        std::copy_n(products, count, elements.data() + first);
    }
}

/// Whether two arrays are multiplied element by element without being brought to one grid, which
/// extreme deltas would refuse.
bool isUsable(const cal_cArrayCal& cal) { return cal.Delta() > 0 && std::isfinite(cal.Delta()); }
bool liesOnAGrid(const darr_c1DArray& array) { return isUsable(array.Cal()); }
bool liesOnAGrid(const darr_c2DArray& array) {
    return isUsable(array.Cal().X()) && isUsable(array.Cal().Y());
}

} // namespace

darr_c1DArray four_Transform(const four_sOperand<darr_c1DArray>& operand,
                             four_eDirection direction) {
    const void* elements = operand.Direct(dtyp_ComplexFloat);
    const int size = operand.x.Count();
    darr_c1DArray result(size, dtyp_ComplexFloat,
                         cal_c1DArrayCal(transformedAxis(size, operand.x.Cal(), direction)));
    if (elements == nullptr) {
        operand.Fetch(dtyp_ComplexFloat, result.Data());
        elements = result.Data();
    }
    transformLine(static_cast<const Complex*>(elements), result, direction);
    return result;
}
darr_c2DArray four_Transform(const four_sOperand<darr_c2DArray>& operand,
                             four_eDirection direction) {
    darr_c2DArray result = transformed(operand, direction);
    setTransformedCal(result, operand.x.Cal(), operand.y.Cal(), direction);
    return result;
}

darr_c1DArray four_TransformTaken(darr_c1DArray array, four_eDirection direction) {
    if (array.DataType() != dtyp_ComplexFloat)
        return four_Transform(four_sOperand<darr_c1DArray>(array), direction);
    transformLine(array.Elements<Complex>().data(), array, direction);
    array.SetCal(cal_c1DArrayCal(transformedAxis(array.Size(), array.Cal(), direction)));
    return array;
}
darr_c2DArray four_TransformTaken(darr_c2DArray array, four_eDirection direction) {
    const cal_c2DArrayCal cal = array.Cal();
    darr_c2DArray result = transformedTaken(std::move(array), direction);
    setTransformedCal(result, cal.X(), cal.Y(), direction);
    return result;
}

template<class Array>
Array four_Product(const four_sMatched<Array>& operands, four_eSecond second) {
    Array product = four_Transform(operands.a, four_Forward);
    const Array other = four_Transform(operands.b, four_Forward);
    // Spectra that are real images, taken for spectra themselves, are not complex.
    if (product.DataType() != dtyp_ComplexFloat || other.DataType() != dtyp_ComplexFloat ||
        !liesOnAGrid(product))
        return second == four_Conjugated ? product * conj(other) : product * other;
    const Complex* const elements = other.template Elements<Complex>().data();
    if (second == four_Conjugated)
        multiply(product, [&](std::size_t first, std::size_t count, Complex* factors) {
            for (std::size_t i = 0; i < count; ++i)
                factors[i] = Complex(elements[first + i].re, -elements[first + i].im);
        });
    else
        multiply(product, [&](std::size_t first, std::size_t count, Complex* factors) {
            std::copy_n(elements + first, count, factors);
        });
    return product;
}
template darr_c1DArray four_Product(const four_sMatched<darr_c1DArray>&, four_eSecond);
template darr_c2DArray four_Product(const four_sMatched<darr_c2DArray>&, four_eSecond);

template<class Array>
Array four_Filtered(Array spectrum, const Array& filter) {
    if (spectrum.DataType() != dtyp_ComplexFloat || filter.DataType() != dtyp_Float ||
        !liesOnAGrid(spectrum))
        return spectrum * filter;
    const float* const elements = filter.template Elements<float>().data();
    multiply(spectrum, [&](std::size_t first, std::size_t count, Complex* factors) {
        for (std::size_t i = 0; i < count; ++i)
            factors[i] = Complex(elements[first + i]);
    });
    return spectrum;
}
template darr_c1DArray four_Filtered(darr_c1DArray, const darr_c1DArray&);
template darr_c2DArray four_Filtered(darr_c2DArray, const darr_c2DArray&);

} // namespace dataprocessing::detail
