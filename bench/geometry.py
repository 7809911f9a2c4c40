#!/usr/bin/python3
"""Warped images, profiles and ramps by OpenCV on one thread, the peer of bench_geometry. OpenCV steps through the image
in fixed point, 1 / 1024 of an element, so a few elements come from the neighbour."""
import math

from peer import byte, compare, np, opencv, real, short, within

cv2 = opencv()
SIDE = 2048
NEAREST = cv2.INTER_NEAREST | cv2.WARP_INVERSE_MAP


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


def scan(width):
    half = width / 2 / math.sqrt(2)
    return turn(-math.pi / 4, (-half, half), (half, -half), (SIDE + half, SIDE - half),
                (SIDE - half, SIDE + half))


def warp(image, place, flags=NEAREST):
    return cv2.warpAffine(image, *place, flags=flags)


def radius():
    """As ours: computed in double precision, rounded once."""
    x = -1 + np.arange(SIDE) * 0.001
    return np.hypot(x[np.newaxis, :], x[:, np.newaxis]).astype(np.float32)


def case(name, call, tolerance=0.0, share=0.98):
    """Most elements agree, up to what one exchanged element changes in a mean."""
    compare({name: call}, agrees=within(tolerance, share))


image, u8, u16 = (make(SIDE * SIDE, which).reshape(SIDE, SIDE) for make, which in ((real, 1), (byte, 2), (short, 3)))
rotation = turn(math.radians(10), (0, 0), (SIDE, 0), (SIDE, SIDE), (0, SIDE))
case("rotate_float", lambda: warp(image, rotation))
case("rotate_u8", lambda: warp(u8.astype(np.float32), rotation))
case("rotate_u16", lambda: warp(u16.astype(np.float32), rotation))
double = image.astype(np.float64)
case("rotate_double", lambda: warp(double, rotation))
for width in (8, 32, 128):
    place = scan(width)
    case(f"linescan_{width}", lambda: cv2.reduce(warp(image, place), 0, cv2.REDUCE_AVG), 2 / width)
# Rotation by 30 degrees about the middle, on the same grid. OpenCV weighs in 1 / 32, and its cubic convolution has
# the parameter -3/4, so values of noise from 0 to 1 are compared within 0.15.
place = cv2.getRotationMatrix2D(((SIDE - 1) / 2, (SIDE - 1) / 2), 30, 1), (SIDE, SIDE)
for name, kind, tolerance in (("to_nearest", cv2.INTER_NEAREST, 0), ("to_linear", cv2.INTER_LINEAR, 0.15),
                              ("to_cubic", cv2.INTER_CUBIC, 0.15)):
    case(name, lambda: warp(image, place, kind | cv2.WARP_INVERSE_MAP), tolerance, 0.97)
case("project_rows", lambda: cv2.reduce(image, 0, cv2.REDUCE_AVG), 1e-5)
resized = np.float64([[1 / 1.5, 0, 0], [0, 1 / 1.5, 0]]), (SIDE * 3 // 2, SIDE * 3 // 2)
case("resize", lambda: warp(image, resized))
flipped = np.float64([[-1, 0, SIDE], [0, -1, SIDE]]), (SIDE, SIDE)
case("flip_point", lambda: warp(image, flipped))
print("note peer numpy", np.__version__)
case("ramp_radius", radius, 1e-6)
