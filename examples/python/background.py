"""A blank that was counted in wider channels, taken away from a spectrum."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
blank = dp.Array1D(np.loadtxt("blank.txt"), dp.Axis(0.0, 0.04, unit="keV"))
net = spectrum - dp.rebin(blank, spectrum)
print(f"{net.sum():.0f} counts of {spectrum.sum():.0f} are left")
