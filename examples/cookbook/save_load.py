"""A spectrum with its calibration, saved and loaded again, to the last bit."""

import pickle

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
with open("spectrum.pickle", "wb") as file:
    pickle.dump(spectrum, file, protocol=5)
with open("spectrum.pickle", "rb") as file:
    loaded = pickle.load(file)
print(f"{loaded.size} elements, delta {loaded.axis.delta:g}")
print("the same" if loaded.identical(spectrum) else "not the same")

loaded.plot().figure.savefig("save_load.png")
