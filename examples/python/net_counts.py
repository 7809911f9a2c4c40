"""What was counted in a line above a straight background, with its error."""

import dataprocessing as dp
import numpy as np

spectrum = dp.Array1D(np.loadtxt("spectrum.txt"), dp.Axis(0.0, 0.01, unit="keV"))
sides = [(6.05, 6.19), (6.61, 6.8)]
net = dp.maps.integrate(spectrum, {"Fe Ka": (6.2, 6.6)}, background="polynomial", ranges=sides)
print(f"{net['Fe Ka']:.0f} +- {net.errors['Fe Ka']:.0f} counts")
