#include "dataprocessing/fourier/regs_correlation.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <span>
#include <utility>
#include <vector>

#include "dataprocessing/base/comp.h"
#include "dataprocessing/base/type.h"
#include "dataprocessing/kernels/rfft.h"

namespace dataprocessing::detail {

namespace {

using Complex = comp_cComplex<double>;

template<class Element>
rfft_sRows<Element> rowsOf(Element* first, const darr_c2DArray& image) {
    const auto width = static_cast<std::size_t>(image.SizeX());
    return {first, width, static_cast<std::size_t>(image.SizeY()), width};
}
rfft_sRows<const float> rowsOf(const darr_c2DArray& image) {
    return rowsOf(image.Elements<float>().data(), image);
}
rfft_sRows<float> rowsOf(darr_c2DArray& image) {
    return rowsOf(image.Elements<float>().data(), image);
}

darr_c2DArray extended(const regs_sPlane& plane, int sizeX, int sizeY) {
    darr_c2DArray image(sizeX, sizeY, pnum_cNumber(0.0F), {});
    float* target = image.Elements<float>().data();
    for (int y = 0; y < plane.sizeY; ++y, target += sizeX)
        std::copy_n(plane.Row(y), plane.sizeX, target);
    return image;
}

darr_c2DArray spectrumOf(const darr_c2DArray& image) {
    darr_c2DArray spectrum(image.SizeX(), image.SizeY(), dtyp_Float, {});
    rfft_Pack(rowsOf(image), rowsOf(spectrum), -1, 1);
    return spectrum;
}

/// Visits the coefficients of a packed spectrum: `real(u, v, element)` for one that is real,
/// `pair(u, v, re, im)` for one that stands for its conjugate at (-u, -v), too. Frequencies v run
/// from 0 to the height.
template<class Real, class Pair>
void forEachCoefficient(int width, int height, const Real& real, const Pair& pair) {
    const auto at = [width](int x, int y) {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
               static_cast<std::size_t>(x);
    };
    for (const int edge : {0, width - 1}) {
        const int u = edge == 0 ? 0 : width / 2;
        real(u, 0, at(edge, 0));
        real(u, height / 2, at(edge, height - 1));
        for (int v = 1; v < height / 2; ++v)
            pair(u, v, at(edge, 2 * v - 1), at(edge, 2 * v));
    }
    for (int v = 0; v < height; ++v)
        for (int u = 1; u < width / 2; ++u)
            pair(u, v, at(2 * u - 1, v), at(2 * u, v));
}

/// The frequency of a coefficient, with a sign.
int signedFrequency(int v, int size) { return v <= size / 2 ? v : v - size; }

/// Whether frequencies take part. An axis of one element has none.
class cBand {
public:
    cBand(const regs_sBand& band, int width, int height, bool hasX, bool hasY)
        : low_(band.low * band.low), high_(band.high * band.high), perX_(hasX ? 2.0 / width : 0),
          perY_(hasY ? 2.0 / height : 0), height_(height) {}
    bool Has(int u, int v) const {
        const double x = u * perX_;
        const double y = signedFrequency(v, height_) * perY_;
        const double squared = x * x + y * y;
        return squared >= low_ && squared <= high_ && squared > 0;
    }

private:
    double low_;
    double high_;
    double perX_;
    double perY_;
    int height_;
};

/// conj(a) b, coefficient by coefficient, into `b`; 0 where `has(u, v)` is false. False where it is
/// nowhere true.
template<class Has>
bool multiply(const darr_c2DArray& first, darr_c2DArray& second, const Has& has) {
    const float* a = first.Elements<float>().data();
    float* b = second.Elements<float>().data();
    bool hasAny = false;
    forEachCoefficient(
        first.SizeX(), first.SizeY(),
        [&](int u, int v, std::size_t i) {
            const bool isIn = has(u, v);
            hasAny |= isIn;
            b[i] = isIn ? a[i] * b[i] : 0.0F;
        },
        [&](int u, int v, std::size_t re, std::size_t im) {
            const comp_cComplex<float> p(a[re], a[im]);
            const comp_cComplex<float> q(b[re], b[im]);
            const bool isIn = has(u, v);
            hasAny |= isIn;
            b[re] = isIn ? p.re * q.re + p.im * q.im : 0.0F;
            b[im] = isIn ? p.re * q.im - p.im * q.re : 0.0F;
        });
    return hasAny;
}

/// Multiplies each coefficient with its magnitude over the sum of that and ten times the median of
/// all magnitudes. Where content is smoother than its elements are fine, most coefficients are
/// noise, and their product would move the maximum more than the content holds it.
void favourStrong(darr_c2DArray& spectrum) {
    const std::span<float> values = spectrum.Elements<float>();
    const auto ignore = [](int, int, std::size_t) {};
    const auto magnitude = [&](std::size_t re, std::size_t im) {
        return std::sqrt(values[re] * values[re] + values[im] * values[im]);
    };
    // A few thousand of them tell the median well enough; the stride is odd, so that it takes all
    // frequencies along X.
    const std::size_t stride = values.size() / 8192 | 1;
    std::size_t count = 0;
    std::vector<float> some;
    forEachCoefficient(spectrum.SizeX(), spectrum.SizeY(), ignore,
                       [&](int, int, std::size_t re, std::size_t im) {
                           if (count++ % stride == 0)
                               some.push_back(magnitude(re, im));
                       });
    if (some.empty())
        return;
    const auto middle = some.begin() + static_cast<std::ptrdiff_t>(some.size() / 2);
    std::nth_element(some.begin(), middle, some.end());
    const float most = 10 * *middle;
    forEachCoefficient(spectrum.SizeX(), spectrum.SizeY(), ignore,
                       [&](int, int, std::size_t re, std::size_t im) {
                           const float size = magnitude(re, im);
                           const float weight = size > 0 ? size / (size + most) : 0;
                           values[re] *= weight;
                           values[im] *= weight;
                       });
}

/// cos and sin of 2 pi f shift / size, for all frequencies.
std::vector<Complex> phases(double shift, int size) {
    std::vector<Complex> result;
    for (int f = 0; f < size; ++f) {
        const double angle = 2 * type_Pi * signedFrequency(f, size) * shift / size;
        result.emplace_back(std::cos(angle), std::sin(angle));
    }
    return result;
}

} // namespace

bool regs_IsBanded(const regs_sBand& band) { return band.low > 0 || band.high < std::sqrt(2.0); }

int regs_PowerFor(long long size) {
    if (size > 1 << 30)
        arr_SizeError(size);
    return static_cast<int>(std::bit_ceil(static_cast<unsigned>(std::max(2LL, size))));
}

regs_cCorrelation::regs_cCorrelation(const regs_sPlane& a, const regs_sPlane& b, int sizeX,
                                     int sizeY, const regs_sBand& band, regs_eWeights weights)
    : spectrum_(spectrumOf(extended(b, sizeX, sizeY))),
      values_(sizeX, sizeY, dtyp_Float, cal_c2DArrayCal()) {
    const darr_c2DArray other = spectrumOf(extended(a, sizeX, sizeY));
    if (regs_IsBanded(band)) {
        const cBand part(band, sizeX, sizeY, a.sizeX > 1 || b.sizeX > 1,
                         a.sizeY > 1 || b.sizeY > 1);
        hasFrequencies_ = multiply(other, spectrum_, [&](int u, int v) { return part.Has(u, v); });
    } else {
        hasFrequencies_ = multiply(other, spectrum_, [](int u, int v) { return (u | v) != 0; });
    }
    if (weights == regs_OverNoise)
        favourStrong(spectrum_);
    const float scale =
        1.0F / (static_cast<float>(values_.SizeX()) * static_cast<float>(values_.SizeY()));
    rfft_Unpack(rowsOf(std::as_const(spectrum_)), rowsOf(values_), 1, scale);
}

bool regs_cCorrelation::Climb(double& x, double& y) const {
    double placeX = x;
    double placeY = y;
    for (int step = 0; step < 8; ++step) {
        const sSlopes at = SlopesAt(placeX, placeY);
        const double determinant = at.xx * at.yy - at.xy * at.xy;
        if (!(at.xx <= 0 && at.yy <= 0 && determinant >= 0))
            return false; // not near a maximum
        // Along an axis of one row there is nothing to climb.
        const double dX = at.yy == 0   ? -at.x / at.xx
                          : at.xx == 0 ? 0
                                       : (at.xy * at.y - at.yy * at.x) / determinant;
        const double dY = at.yy == 0   ? 0
                          : at.xx == 0 ? -at.y / at.yy
                                       : (at.xy * at.x - at.xx * at.y) / determinant;
        placeX += dX;
        placeY += dY;
        if (!(std::fabs(placeX - x) <= 1) || !(std::fabs(placeY - y) <= 1))
            return false;
        if (std::fabs(dX) < 1e-4 && std::fabs(dY) < 1e-4)
            break;
    }
    x = placeX;
    y = placeY;
    return true;
}

regs_cCorrelation::sSlopes regs_cCorrelation::SlopesAt(double x, double y) const {
    const int width = SizeX();
    const int height = SizeY();
    const auto alongX = phases(x, width);
    const auto alongY = phases(y, height);
    const std::span<const float> spectrum = spectrum_.Elements<float>();
    sSlopes sum;
    // What is left of a row once it is summed over u: the sums of z, u z and u u z, where z is the
    // coefficient turned along X. Nyquist frequencies have no direction and are left out.
    const auto addRow = [&](int v, const Complex& s0, const Complex& s1, const Complex& s2) {
        const Complex& turn = alongY[static_cast<std::size_t>(v)];
        const double fY = 2 * type_Pi * signedFrequency(v, height) / height;
        const double fX = 2 * type_Pi / width;
        const Complex t0 = s0 * turn;
        const Complex t1 = s1 * turn;
        sum.x -= fX * t1.im;
        sum.y -= fY * t0.im;
        sum.xx -= fX * fX * (s2 * turn).re;
        sum.xy -= fX * fY * t1.re;
        sum.yy -= fY * fY * t0.re;
    };
    for (int v = 1; v < height / 2; ++v) {
        const std::size_t re =
            static_cast<std::size_t>(2 * v - 1) * static_cast<std::size_t>(width);
        addRow(v, {spectrum[re], spectrum[re + static_cast<std::size_t>(width)]}, {}, {});
    }
    for (int v = 0; v < height; ++v) {
        if (v == height / 2)
            continue;
        const float* row = spectrum.data() + static_cast<std::size_t>(v) * alongX.size();
        Complex s0, s1, s2;
        for (std::size_t u = 1; u < alongX.size() / 2; ++u) {
            const double re = row[2 * u - 1];
            const double im = row[2 * u];
            const double f = static_cast<double>(u);
            const Complex z(re * alongX[u].re - im * alongX[u].im,
                            re * alongX[u].im + im * alongX[u].re);
            s0.re += z.re;
            s0.im += z.im;
            s1.re += f * z.re;
            s1.im += f * z.im;
            s2.re += f * f * z.re;
            s2.im += f * f * z.im;
        }
        addRow(v, s0, s1, s2);
    }
    return sum;
}

} // namespace dataprocessing::detail
