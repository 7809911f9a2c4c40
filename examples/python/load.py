"""A spectrum from a text file, where its channels lie, as a picture."""

import dataprocessing as dp
import numpy as np

axis = dp.Axis(0.0, 0.01, name="energy", unit="keV")
spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), axis, name="steel", unit="counts")
print(spectrum)
spectrum.sel(5.0, 9.0).plot().figure.savefig("spectrum.png")
