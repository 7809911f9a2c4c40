#!/usr/bin/python3
"""Correlations, convolutions and bands by OpenCV on one thread, the peer of bench_correlate. The transforms of both
sides are in single precision and differ by a constant factor."""
from peer import compare, np, opencv, real, within

cv2 = opencv()
BACK = cv2.DFT_SCALE | cv2.DFT_REAL_OUTPUT


def cross(a, b):
    product = cv2.mulSpectrums(cv2.dft(a), cv2.dft(b), 0, conjB=True)
    return np.fft.fftshift(cv2.idft(product, flags=BACK))


def auto(a, _):
    spectrum = cv2.dft(a)
    power = cv2.mulSpectrums(spectrum, spectrum, 0, conjB=True)
    return np.fft.fftshift(cv2.idft(power, flags=BACK))


def convolute(a, b):
    return cv2.idft(cv2.mulSpectrums(cv2.dft(a), cv2.dft(b), 0), flags=BACK)


def band(a, _):
    """Of a centred spectrum; positions are fractions of the Nyquist frequency."""
    x = np.arange(a.shape[0], dtype=np.float32) * np.float32(2 / a.shape[0]) - np.float32(1)
    distance = np.hypot(x[np.newaxis, :], x[:, np.newaxis])
    return ((0.1 < distance) & (distance < 0.5)).astype(np.float32)


def cross_in_band(a, b):
    mask = np.fft.ifftshift(band(a, b))
    spectra = (cv2.dft(image, flags=cv2.DFT_COMPLEX_OUTPUT) for image in (a, b))
    product = cv2.mulSpectrums(*spectra, 0, conjB=True) * mask[:, :, np.newaxis]
    return np.fft.fftshift(cv2.idft(product, flags=BACK))


def up_to_a_factor(sample, theirs):
    """And to the rounding of transforms in single precision."""
    factor = np.dot(sample.real.astype(np.float64), theirs.real) / np.dot(theirs.real, theirs.real)
    return factor != 0 and np.max(np.abs(sample / factor - theirs)) <= 1e-5 * np.max(np.abs(theirs))


def signs(side):
    """Ours is of the centred spectrum, which changes every other sign; a sample has whole columns of one sign."""
    change = 1 - 2 * (np.arange(side) % 2)
    return (change * change[:, np.newaxis]).reshape(-1)[::max(1, side * side // 4096)]


for side in (512, 2048):
    a, b = (real(side * side, which).reshape(side, side) for which in (1, 2))
    for call in (cross, convolute, cross_in_band):
        compare({call.__name__: lambda: call(a, b)}, agrees=up_to_a_factor)
    compare({"auto": lambda: auto(a, b)}, kind=np.complex64,
            agrees=lambda sample, theirs: up_to_a_factor(sample, theirs * signs(side)))
    compare({"band": lambda: band(a, b)}, agrees=within(0, 0.999))  # the edges are rounded differently
