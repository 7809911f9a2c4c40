"""A stack of spectra in parts, as jobs of a cluster would do it: the same bits as at once."""

from concurrent.futures import ThreadPoolExecutor

import dataprocessing as dp
import numpy as np

axis = dp.Axis(5.0, 0.02, unit="keV")
energies = axis.positions(100)
heights = np.arange(1, 241).reshape(12, 20, 1)
counts = np.floor(10 + 5 * heights * np.exp(-0.5 * ((energies - 6.0) / 0.08) ** 2) + 0.5).astype("u2")
model = dp.fitting.PeakModel()
model.peak("gaussian", 6.0, 500, 0.08, name="line")
model.polynomial([10, 0], reference=6.0)


def job(part):
    return dp.maps.peaks(part, model, axis).areas["line"]


with ThreadPoolExecutor(3) as jobs:
    parts = np.concatenate(list(jobs.map(job, np.array_split(counts, 3))))
whole = job(counts)
print("the same bits" if parts.tobytes() == whole.tobytes() else "other bits")
print(f"areas from {whole.min() / 0.02:.1f} to {whole.max() / 0.02:.1f} counts")

dp.Array2D(parts).plot().figure.savefig("cluster.png")
