"""Images as other programs write them: whatever the format, the tour finds the pixels that were written."""
import io
import re
import struct
import zlib

import numpy as np
import pytest

pil = pytest.importorskip("PIL.Image")

NOISE = np.random.default_rng(5)
BYTES = NOISE.integers(3, 250, (37, 53)).astype("u1")
WORDS = NOISE.integers(100, 60000, (37, 53)).astype("u2")
FLOATS = NOISE.normal(-7, 300, (37, 53)).astype("f4")


def saved(values, kind, **options):
    file = io.BytesIO()
    pil.fromarray(values).save(file, kind, **options)
    return file.getvalue()


def tiff(values, order="<", tile=None, white=False, skip=0):
    """A TIFF without compression: rows in one strip, or tiles; where white is 0, as the complement. `skip` bytes are cut off."""
    rows, columns = values.shape
    values = (np.iinfo(values.dtype).max - values if white else values).astype(values.dtype.newbyteorder(order))
    parts = [values]
    if tile:
        padded = np.pad(values, [(0, -rows % tile), (0, -columns % tile)])
        parts = [padded[y:y + tile, x:x + tile] for y in range(0, rows, tile) for x in range(0, columns, tile)]
    size = parts[0].nbytes
    where, count = 8 + 4 * len(parts), len(parts)
    offsets = [where + 4 * count + i * size for i in range(count)]
    tags = [(256, columns), (257, rows), (258, values.itemsize * 8), (259, 1), (262, 0 if white else 1), (277, 1)]
    tags += [(322, tile), (323, tile)] if tile else [(278, rows)]
    places = [(324 if tile else 273, 8), (325 if tile else 279, where)]
    entries = [(tag, 4, 1, value) for tag, value in tags]
    entries += [(tag, 4, count, place if count > 1 else (offsets[0], size)[i]) for i, (tag, place) in enumerate(places)]
    entries += [(339, 4, 1, 3 if values.dtype.kind == "f" else 1)]
    data = struct.pack(f"{order}{2 * count}I", *offsets, *[size] * count) + b"".join(part.tobytes() for part in parts)
    header = struct.pack(f"{order}2sHI", b"II" if order == "<" else b"MM", 42, 8 + len(data))
    directory = b"".join(struct.pack(f"{order}HHII", *entry) for entry in sorted(entries))
    body = header + data
    return body[:len(body) - skip] + (b"" if skip else struct.pack(f"{order}H", len(entries)) + directory + bytes(4))


def colours(values):
    return np.stack([values, values, values], axis=-1)


@pytest.mark.parametrize("values, content, kind", [
    (BYTES, saved(BYTES, "PPM"), "uint8"),
    (BYTES, saved(BYTES, "PNG"), "uint8"),
    (BYTES, saved(colours(BYTES), "PNG"), "uint8"),
    (WORDS, saved(WORDS, "PNG"), "uint16"),
    (BYTES, saved(BYTES, "TIFF"), "uint8"),
    (BYTES, saved(BYTES, "TIFF", compression="tiff_lzw"), "uint8"),
    (WORDS, saved(WORDS, "TIFF", compression="tiff_adobe_deflate"), "uint16"),
    (FLOATS, saved(FLOATS, "TIFF"), "float"),
    (WORDS, tiff(WORDS), "uint16"),
    (WORDS, tiff(WORDS, order=">"), "uint16"),
    (WORDS, tiff(WORDS, tile=16), "uint16"),
    (FLOATS, tiff(FLOATS, order=">", tile=16), "float"),
    (BYTES, tiff(BYTES, white=True), "uint8"),
    (BYTES, tiff(BYTES, tile=64, white=True), "uint8"),
], ids=range(14))
def test_pixels_are_those_that_were_written(told, tmp_path, values, content, kind):
    (tmp_path / "image").write_bytes(content)
    text = " ".join(told("--image", "image", "--pixel", "2,mm").split())
    assert f"The image has 53 x 37 elements of type {kind}, over [0, 106) x [0, 74) mm" in text
    low, high, mean = values.min(), values.max(), values.astype("f8").mean()
    assert f"Its values are from {low:g} to {high:g}, {mean:.2f} in the mean" in text
    row = text[text.index("Row 18 of the image"):]
    assert f"summed up it is {values[18].astype('f8').mean():.2f}" in row


@pytest.mark.parametrize("content", [saved(WORDS, "PNG")[:-200], saved(WORDS, "TIFF")[:-2000], tiff(WORDS, skip=100), tiff(WORDS, tile=16)[:-40]],
                         ids=range(4))
def test_a_file_that_was_cut_off(tour, tmp_path, content):
    (tmp_path / "image").write_bytes(content)
    done = tour("--out", "out", "--image", "image")
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr.startswith("tour: image: is damaged") and done.stderr.count("\n") == 1
    assert not (tmp_path / "out").exists()


def png(width, height):
    """One that claims to be of this size."""
    def part(kind, content):
        return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))
    header = struct.pack(">2I5B", width, height, 8, 0, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + part(b"IHDR", header) + part(b"IDAT", zlib.compress(bytes(1000))) + part(b"IEND", b"")


@pytest.mark.parametrize("content, found", [
    (png(100000, 100000), "image: the image has 100000 x 100000 pixels, expected 4 or more in each direction and 2147483647 at most"),
    (png(3, 8), "image: the image has 3 x 8 pixels"),
    (tiff(NOISE.integers(0, 9, (8, 8)).astype("u4")), "1 x 32 bits per pixel"),
    (tiff(FLOATS.astype("f8")), "1 x 64 bits per pixel"),
    (saved(colours(BYTES), "TIFF"), "3 x 8 bits per pixel"),
    (tiff(np.ones((3, 9), "u1")), "9 x 3 pixels"),
    (tiff(np.where(FLOATS > 500, np.float32(np.nan), FLOATS)), "a pixel is not finite"),
], ids=range(7))
def test_what_cannot_be_used_is_told(tour, tmp_path, content, found):
    (tmp_path / "image").write_bytes(content)
    done = tour("--out", "out", "--image", "image")
    assert done.returncode == 2 and found in done.stderr
    assert not (tmp_path / "out").exists()


def pages(*all_values, **options):
    file = io.BytesIO()
    first, *others = map(pil.fromarray, all_values)
    first.save(file, "TIFF", save_all=True, append_images=others, **options)
    return file.getvalue()


def palette(values):
    file = io.BytesIO()
    pil.fromarray(values).convert("P").save(file, "PNG")
    return file.getvalue()


ALPHA = np.full_like(BYTES, 99)
GREY, ALPHA_OUT = "it has colours, which were made grey: 0.21 of red", "what it says of transparency is left out"
@pytest.mark.parametrize("content, remarks", [
    (saved(BYTES, "PNG"), []), (saved(WORDS, "PNG"), []), (saved(BYTES, "TIFF"), []), (saved(BYTES, "PPM"), []),
    (saved(np.dstack([BYTES, BYTES // 2, BYTES // 3]), "PNG"), [GREY]),
    (palette(BYTES), [GREY]),
    (saved(np.dstack([BYTES, BYTES, BYTES, ALPHA]), "PNG"), [GREY, ALPHA_OUT]),
    (saved(np.dstack([BYTES, ALPHA]), "PNG"), [ALPHA_OUT]),
    (saved(BYTES, "PNG", transparency=7), [ALPHA_OUT]),
    (saved(BYTES > 60, "PNG"), ["its values have 1 bit and were spread from 0 to 255"]),
    (tiff(BYTES, white=True), ["0 is white in it, so its values were subtracted from 255"]),
    (tiff(WORDS, white=True), ["0 is white in it, so its values were subtracted from 65535"]),
    (pages(BYTES, BYTES[::-1]), ["it holds 2 images, of which the first is taken"]),
    (pages(BYTES, tiffinfo={274: 3}), ["it asks to be shown turned or mirrored (orientation 3); its rows and columns are taken as they are stored"]),
], ids=range(14))
def test_what_is_not_taken_as_it_is_is_told(told, tmp_path, content, remarks):
    (tmp_path / "image").write_bytes(content)
    text = " ".join(told("--image", "image").split())
    assert text.count("About the file: ") == len(remarks) and all(f"About the file: {remark}" in text for remark in remarks)


@pytest.mark.parametrize("scale", [1e36, 1e-40])
def test_values_of_any_size(told, tmp_path, scale):
    """Very large and very small values are told with digits, and nothing overflows."""
    values = (np.add.outer(np.arange(200), np.arange(300)) * 0.1 + NOISE.normal(100, 30, (200, 300))) * scale
    (tmp_path / "image").write_bytes(saved(values.astype("f4"), "TIFF"))
    text = " ".join(told("--image", "image").split()) + (tmp_path / "out/report.html").read_text()
    mean = re.search(r"Its values are from \S+ to \S+, (\S+) in the mean", text)[1]
    assert float(mean) == pytest.approx(values.mean(), rel=1e-4)
    row = re.search(r"stands the mean: (\S+); summed up it is (\S+)\. ", text).groups()
    assert [float(value) for value in row] == pytest.approx([values[100].mean()] * 2, rel=1e-4)
    assert not re.search(r"\b(nan|inf)\b", text) and "band-passed cross-correlation 8.00 -4.00" in text


@pytest.mark.parametrize("size", [0.0005, 1e-9, 2e6])
def test_lengths_have_digits(told, tmp_path, size):
    (tmp_path / "image").write_bytes(saved(NOISE.integers(0, 255, (200, 300)).astype("u1"), "PNG"))
    text = told("--image", "image", "--pixel", f"{size},m")
    for shift in ("made", "cross-correlation", "band-passed cross-correlation", "regs_Register"):
        x, y = map(float, re.search(rf"^{shift} (\S+) (\S+)$", text, re.M).groups())
        assert (x, y) == pytest.approx((8 * size, -4 * size), rel=0.02)
    delta, largest = map(float, re.search(r"^line scan \d+ (\S+) (\S+)$", text, re.M).groups())
    assert size / 2 < delta < size and 0 < largest < 300 * size
    assert largest / delta == pytest.approx(round(largest / delta), abs=0.1)


def test_what_is_told_of_the_registration(told, tmp_path):
    """It depends on what is found: of a slope and a blob a correlation knows no shift."""
    y, x = np.mgrid[:200, :300]
    slope = 200 * (.2 + .5 * x / 300 * y / 200 + .25 * np.exp(-((x - 90) ** 2 + (y - 40) ** 2) / 901))
    (tmp_path / "slope").write_bytes(saved(slope.astype("u1"), "PNG"))
    (tmp_path / "noise").write_bytes(saved(NOISE.integers(0, 255, (200, 300)).astype("u1"), "PNG"))
    said = " ".join(told("--image", "slope").split())
    assert "More than an element off: cross-correlation, band-passed cross-correlation. What" in said
    said = " ".join(told("--image", "noise", out="other").split())
    assert "All of them have the shift that was made, to an element." in said and "per pixel." in said


@pytest.mark.parametrize("values", [np.full((40, 60), 77, "u1"), np.zeros((40, 60), "u2"), np.full((40, 60), -5, "f4"),
                                    np.pad(np.full((1, 1), 255, "u1"), ((2, 37), (3, 56)))], ids=range(4))
def test_an_image_with_nothing_to_register_by(told, tmp_path, values):
    (tmp_path / "image").write_bytes(tiff(values))
    text = " ".join(told("--image", "image").split())
    assert "so there is nothing to register by." in text and "Rotated, sheared, resized" in text
