"""A file of two columns, energies in keV and counts, becomes a spectrum that knows where its channels lie."""

import dataprocessing as dp
import numpy as np

energies, counts = np.loadtxt("columns.txt", unpack=True)
axis = dp.Axis.from_positions(energies, name="energy", unit="keV")
spectrum = dp.Array1D(counts, axis, name="steel", unit="counts")
print(f"{spectrum.size} channels of {1000 * axis.delta:.1f} eV from {axis.offset:.2f} keV")
print(f"highest at {spectrum.idxmax():.2f} keV, {spectrum.max():.0f} counts; at 7.058 keV {spectrum.at(7.058):.1f}")

spectrum.plot().figure.savefig("read_columns.png")
