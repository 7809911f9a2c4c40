#!/usr/bin/python3
"""Warped images, profiles and ramps by OpenCV on one thread, the peer of bench_geometry.

usage: geometry.py DIRECTORY   (where bench_geometry left samples of its results)

Compares the samples first, then prints times in the same form. OpenCV steps through the image in
fixed point, 1 / 1024 of an element, so a few elements come from the neighbour.
"""
import math
import sys

import peer

import numpy as np

try:
    import cv2
except ImportError:
    print("note absent OpenCV is not installed (Debian: python3-opencv)")
    sys.exit(0)

cv2.setNumThreads(1)

SIDE = 2048
NEAREST = cv2.INTER_NEAREST | cv2.WARP_INVERSE_MAP


def bits(which):
    return peer.bits(SIDE * SIDE, which).reshape(SIDE, SIDE)


def real(which):
    return peer.real(SIDE * SIDE, which).reshape(SIDE, SIDE)


def turn(angle, left, bottom, right, top):
    """The inverse map of a rotation about the origin, and the size of the box around a range."""
    scale = 1 / max(math.cos(angle), abs(math.sin(angle)))
    forward = scale * np.array([[math.cos(angle), -math.sin(angle)],
                                [math.sin(angle), math.cos(angle)]])
    corners = forward @ np.array([[left[0], bottom[0], right[0], top[0]],
                                  [left[1], bottom[1], right[1], top[1]]])
    low, high = corners.min(axis=1), corners.max(axis=1)
    inverse = np.linalg.inv(forward)
    columns, rows = np.floor(high - low + 0.5).astype(int)
    return np.column_stack([inverse, inverse @ low]), (int(columns), int(rows))


def rotation():
    return turn(math.radians(10), (0, 0), (SIDE, 0), (SIDE, SIDE), (0, SIDE))


def scan(width):
    half = width / 2 / math.sqrt(2)
    return turn(-math.pi / 4, (-half, half), (half, -half), (SIDE + half, SIDE - half),
                (SIDE - half, SIDE + half))


def as_float(image, matrix, size):
    return cv2.warpAffine(image.astype(np.float32), matrix, size, flags=NEAREST)


def warp(image, matrix, size):
    return cv2.warpAffine(image, matrix, size, flags=NEAREST)


def profile(image, matrix, size):
    return cv2.reduce(cv2.warpAffine(image, matrix, size, flags=NEAREST), 0, cv2.REDUCE_AVG)


def agrees(sample, theirs, tolerance):
    """At least 98 of 100 elements agree, up to what one exchanged element changes in a mean."""
    return sample.shape == theirs.shape and np.mean(np.abs(sample - theirs) <= tolerance) >= 0.98


def main():
    directory = sys.argv[1] if len(sys.argv) > 1 else "."
    print("note peer OpenCV", cv2.__version__)
    images = {"float": real(1), "u8": (bits(2) >> np.uint32(24)).astype(np.uint8),
              "u16": (bits(3) >> np.uint32(16)).astype(np.uint16),
              "double": real(1).astype(np.float64)}
    cases = [(f"rotate_{name}", as_float if name[0] == "u" else warp, image, rotation(), 0)
             for name, image in images.items()]
    cases += [(f"linescan_{width}", profile, images["float"], scan(width), 2 / width)
              for width in (8, 32, 128)]
    for name, call, image, (matrix, size), tolerance in cases:
        result = call(image, matrix, size)
        theirs = result.reshape(-1)[::max(1, result.size // 4096)]
        sample = peer.ours(directory, name, result.size, result.dtype)
        peer.report(name, result.size, agrees(sample, theirs, tolerance),
                    lambda: call(image, matrix, size))
    turned_in_place(directory, images["float"])
    whole_images(directory, images["float"])


def turned_in_place(directory, image):
    """Rotation by 30 degrees about the middle, on the same grid. OpenCV steps in 1 / 1024 of an
    element, weighs in 1 / 32, and its cubic convolution has the parameter -3/4, so values of noise from 0
    to 1 are compared within 0.15."""
    inverse = cv2.getRotationMatrix2D(((SIDE - 1) / 2, (SIDE - 1) / 2), 30, 1)
    for name, kind in (("to_nearest", cv2.INTER_NEAREST), ("to_linear", cv2.INTER_LINEAR),
                       ("to_cubic", cv2.INTER_CUBIC)):
        def call(kind=kind):
            return cv2.warpAffine(image, inverse, (SIDE, SIDE), flags=kind | cv2.WARP_INVERSE_MAP)
        result = call()
        theirs = result.reshape(-1)[::max(1, result.size // 4096)]
        sample = peer.ours(directory, name, result.size, result.dtype)
        near = np.mean(np.abs(sample - theirs) <= (0 if kind == cv2.INTER_NEAREST else 0.15))
        peer.report(name, result.size, sample.shape == theirs.shape and near >= 0.97, call)


def radius():
    """As ours: computed in double precision, rounded once."""
    x = -1 + np.arange(SIDE) * 0.001
    return np.hypot(x[np.newaxis, :], x[:, np.newaxis]).astype(np.float32)


def whole_images(directory, image):
    resized = np.float64([[1 / 1.5, 0, 0], [0, 1 / 1.5, 0]]), (SIDE * 3 // 2, SIDE * 3 // 2)
    flipped = np.float64([[-1, 0, SIDE], [0, -1, SIDE]]), (SIDE, SIDE)
    calls = {
        "project_rows": (lambda: cv2.reduce(image, 0, cv2.REDUCE_AVG), 1e-5),
        "resize": (lambda: warp(image, *resized), 0),
        "flip_point": (lambda: warp(image, *flipped), 0),
        "ramp_radius": (radius, 1e-6),
    }
    for name, (call, tolerance) in calls.items():
        if name == "ramp_radius":
            print("note peer numpy", np.__version__)
        result = call()
        theirs = result.reshape(-1)[::max(1, result.size // 4096)]
        sample = peer.ours(directory, name, result.size, result.dtype)
        peer.report(name, result.size, agrees(sample, theirs, tolerance), call)


main()
