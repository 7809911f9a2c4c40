#!/usr/bin/python3
"""Registration by scikit-image, the peer of bench_register. Ours is compared with the shift that the images were made
with, to a tenth of an element."""
from peer import compare, double, needed, np, real

needed("skimage", "scikit-image", "python3-skimage")
from skimage.registration import phase_cross_correlation

SHIFT = np.array([12.3, -7.6])


def scene(size_x, size_y, x, y, which):
    columns, rows = np.meshgrid(x + np.arange(size_x), y + np.arange(size_y))
    waves = 0.6 * (double(80, 9) - 1)
    value = sum(np.cos(waves[2 * k] * columns + waves[2 * k + 1] * rows + k) for k in range(40))
    return value.astype(np.float32) + 4 * (real(value.size, which).reshape(value.shape) - 1)


for size in ((150, 110), (300, 200), (700, 613)):
    fixed, moved = scene(*size, 0, 0, 1), scene(*size, *-SHIFT, 2)
    compare({"register": lambda: phase_cross_correlation(moved, fixed, upsample_factor=20, normalization=None)[0][::-1]},
            agrees=lambda sample, _: np.all(np.abs(sample - SHIFT) <= 0.1), count=fixed.size, kind=np.float64)
