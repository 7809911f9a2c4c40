#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "dataprocessing/base/expt.h"
#include "dataprocessing/kernels/convert.h"
#include "dataprocessing/valuemodel/conv_check.h"
#include "dataprocessing/valuemodel/resc.h"

namespace dataprocessing::detail {

namespace {

/// Refuses what does not say how wide elements are and where.
void require(const cal_cArrayCal& cal) {
    if (cal.Delta() == 0 || !std::isfinite(cal.Delta()))
        throw expt_cProgramException("resc", 1, "The delta is zero or not finite.");
    if (!std::isfinite(cal.Offset()))
        throw expt_cProgramException("resc", 2, "The offset is not finite.");
}

void require(const cal_cArrayCal& from, const cal_cArrayCal& to) {
    require(from);
    require(to);
    if (std::signbit(from.Delta()) != std::signbit(to.Delta()))
        throw expt_cProgramException(
            "resc", 1, "Axes that run in opposite directions cannot be brought to one delta.");
}

/// The elements of one axis and the bins that they are shared out to.
class cBins {
public:
    cBins(int elements, const cal_cArrayCal& from, int bins, const cal_cArrayCal& to)
        : elements_(elements), bins_(bins), from_(from), to_(to) {}

    int Count() const { return bins_; }
    const cal_cArrayCal& Cal() const { return to_; }

    /// The edge before bin `bin`, as a real index of the elements, at an end at most.
    double Edge(int bin) const {
        const double edge = from_.RealIndex(to_.Position(bin));
        return edge > 0 ? std::min(edge, static_cast<double>(elements_)) : 0; // not NaN either
    }

private:
    int elements_;
    int bins_;
    cal_cArrayCal from_;
    cal_cArrayCal to_;
};

cBins binsOf(int elements, const cal_cArrayCal& from, double delta) {
    require(from);
    const cal_cArrayCal to(from.Position(0), delta, 0);
    require(from, to);
    double bins = std::ceil(to.RealIndex(from.Position(elements)));
    constexpr double most = std::numeric_limits<int>::max();
    if (!(bins >= 0 && bins <= most))
        arr_SizeError();
    // What is next to nothing of a wide bin may be whole elements.
    if (bins < most && from.RealIndex(to.Position(static_cast<int>(bins))) < elements)
        ++bins;
    return {elements, from, static_cast<int>(bins), to};
}

cBins binsOf(int elements, const cal_cArrayCal& from, int bins, const cal_cArrayCal& to) {
    require(from, to);
    return {elements, from, bins, to};
}

/// Calls `take(element, share)` for the elements between two real indices, in their order.
template<class Take>
void forEachShare(double begin, double end, const Take& take) {
    for (double element = std::floor(begin); element < end; ++element)
        take(static_cast<std::size_t>(element),
             std::min(end, element + 1) - std::max(begin, element));
}

/// Rows of elements as doubles, each shared out along X once, while it is needed.
class cRows {
public:
    cRows(const parr_cNumberArray& array, int sizeX, const cBins& bins)
        : array_(array), bins_(bins), parts_(array.DataType().IsComplex() ? 2 : 1),
          sizeX_(static_cast<std::size_t>(sizeX)), elements_(sizeX_ * parts_),
          shared_(static_cast<std::size_t>(bins.Count()) * parts_) {}

    /// Doubles in a row that is shared out.
    std::size_t Width() const { return shared_.size(); }
    dtyp_cDataType Numbers() const { return parts_ == 2 ? dtyp_ComplexDouble : dtyp_Double; }

    const std::vector<double>& Row(std::size_t y) {
        if (y == held_)
            return shared_;
        const dtyp_cDataType type = array_.DataType();
        conv_Elements(static_cast<const unsigned char*>(array_.Data()) + y * sizeX_ * type.SizeOf(),
                      type, elements_.data(), Numbers(), sizeX_, conv_RealPart);
        std::fill(shared_.begin(), shared_.end(), 0.0);
        double begin = bins_.Edge(0);
        double* bin = shared_.data();
        for (int i = 0; i < bins_.Count(); ++i, bin += parts_) {
            const double end = bins_.Edge(i + 1);
            forEachShare(begin, end, [&](std::size_t element, double share) {
                for (std::size_t part = 0; part < parts_; ++part)
                    bin[part] += share * elements_[element * parts_ + part];
            });
            begin = end;
        }
        held_ = y;
        return shared_;
    }

private:
    const parr_cNumberArray& array_;
    const cBins& bins_;
    std::size_t parts_;
    std::size_t sizeX_;
    std::size_t held_ = std::numeric_limits<std::size_t>::max();
    std::vector<double> elements_;
    std::vector<double> shared_;
};

dtyp_cDataType resultType(dtyp_cDataType type) {
    conv_Check(type, dtyp_ComplexDouble, conv_RealPart);
    return type.Code() < dtyp_Float ? dtyp_cDataType(dtyp_Double) : type;
}

/// Fills `result`, whose rows are those of `alongY`.
void rebin(const parr_cNumberArray& array, int sizeX, const cBins& alongX, const cBins& alongY,
           parr_cNumberArray& result) {
    if (result.Count() == 0)
        return;
    cRows rows(array, sizeX, alongX);
    std::vector<double> sum(rows.Width());
    const std::size_t bytes = static_cast<std::size_t>(alongX.Count()) * result.DataType().SizeOf();
    for (int y = 0; y < alongY.Count(); ++y) {
        std::fill(sum.begin(), sum.end(), 0.0);
        forEachShare(alongY.Edge(y), alongY.Edge(y + 1), [&](std::size_t row, double share) {
            const std::vector<double>& shared = rows.Row(row);
            for (std::size_t i = 0; i < sum.size(); ++i)
                sum[i] += share * shared[i];
        });
        conv_Elements(sum.data(), rows.Numbers(),
                      static_cast<unsigned char*>(result.Data()) +
                          static_cast<std::size_t>(y) * bytes,
                      result.DataType(), static_cast<std::size_t>(alongX.Count()), conv_RealPart);
    }
}

darr_c1DArray rebinned(const darr_c1DArray& array, const cBins& bins) {
    darr_c1DArray result(bins.Count(), resultType(array.DataType()), cal_c1DArrayCal(bins.Cal()));
    const cBins row(1, {}, 1, {});
    rebin(array, array.Size(), bins, row, result);
    return result;
}

darr_c2DArray rebinned(const darr_c2DArray& array, const cBins& alongX, const cBins& alongY) {
    darr_c2DArray result(alongX.Count(), alongY.Count(), resultType(array.DataType()),
                         cal_c2DArrayCal(alongX.Cal(), alongY.Cal()));
    rebin(array, array.SizeX(), alongX, alongY, result);
    return result;
}

} // namespace

} // namespace dataprocessing::detail

using namespace dataprocessing::detail;

darr_c1DArray resc_Rebin(const darr_c1DArray& array, double delta) {
    return rebinned(array, binsOf(array.Size(), array.Cal(), delta));
}

darr_c1DArray resc_Rebin(const darr_c1DArray& array, const darr_c1DArray& grid) {
    return rebinned(array, binsOf(array.Size(), array.Cal(), grid.Size(), grid.Cal()));
}

darr_c2DArray resc_Rebin(const darr_c2DArray& array, double deltaX, double deltaY) {
    return rebinned(array, binsOf(array.SizeX(), array.Cal().X(), deltaX),
                    binsOf(array.SizeY(), array.Cal().Y(), deltaY));
}

darr_c2DArray resc_Rebin(const darr_c2DArray& array, const darr_c2DArray& grid) {
    return rebinned(array, binsOf(array.SizeX(), array.Cal().X(), grid.SizeX(), grid.Cal().X()),
                    binsOf(array.SizeY(), array.Cal().Y(), grid.SizeY(), grid.Cal().Y()));
}
