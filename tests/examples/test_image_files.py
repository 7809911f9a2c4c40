"""Images as other programs write them: whatever the format, the tour finds the pixels that were written."""
import io
import struct

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


@pytest.mark.parametrize("content, found", [
    (tiff(NOISE.integers(0, 9, (8, 8)).astype("u4")), "1 x 32 bits per pixel"),
    (tiff(FLOATS.astype("f8")), "1 x 64 bits per pixel"),
    (saved(colours(BYTES), "TIFF"), "3 x 8 bits per pixel"),
    (tiff(np.ones((3, 9), "u1")), "9 x 3 pixels"),
    (tiff(np.where(FLOATS > 500, np.float32(np.nan), FLOATS)), "a pixel is not finite"),
], ids=range(5))
def test_what_cannot_be_used_is_told(tour, tmp_path, content, found):
    (tmp_path / "image").write_bytes(content)
    done = tour("--out", "out", "--image", "image")
    assert done.returncode == 2 and found in done.stderr
