"""What an application has to know: how a call fails, and that calls on other threads do not mind."""

from concurrent.futures import ThreadPoolExecutor

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
try:
    spectrum / dp.Array1D([1.0, 0.0], dp.Axis(0.0, 0.01))
except dp.DataError as refusal:  # what the data cause
    print(f"refused: {refusal.message}")
try:  # a misuse, as the two files were that a person chose
    dp.register(dp.rescale(spectrum, 0.02), spectrum)
except (dp.DataProcessingError, ValueError) as refusal:  # of every kind
    print(f"refused: {refusal}")
print(f"{spectrum.sum():.0f} counts, as before")


def widest(width):
    return dp.smooth_median(spectrum, width).max()


with ThreadPoolExecutor(2) as pool:
    print("highest after medians:", " ".join(f"{highest:.0f}" for highest in pool.map(widest, (3, 9, 15))))

spectrum.plot().figure.savefig("embed.png")
