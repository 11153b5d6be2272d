#!/usr/bin/python3
"""Checks the library's image outputs with Pillow, a decoder independent of the library.

check_outputs.py FIXTURES OUTPUTS BUILD

OUTPUTS/manifest.tsv (written by image_outputs_test) names each output with its source, the
operation, the format asked for and the size expected. For each output this checks the format,
the size, the mode or bit depth expected on BUILD ("windows" or "linux"), and the pixels: the
output, decoded, against its source (for a stretch, the source stretched by Pillow's bicubic
filter), as a mean absolute difference per channel within a tolerance that allows for lossy
formats. Prints one line per output and exits 1 if any check fails.
"""
import os
import struct
import sys

from PIL import Image, ImageChops, ImageStat

PILLOW_FORMATS = {"jpeg": "JPEG", "png": "PNG", "gif": "GIF", "tiff": "TIFF", "bmp": "BMP"}
INDEXED_SOURCES = {"indexed8.png", "indexed.gif"}


# Sources that Wine's decoders hand over as 32-bit ARGB: 16 bits per channel become 8 with alpha.
WINE_ARGB_SOURCES = {"argb32.png", "rgb48.png", "rgb48.tif"}
# Wine's GIF encoder quantizes only some sources; for these it writes the screen descriptor and
# no frame at all, although the save reports success (real Windows writes a halftone image).
WINE_FRAMELESS_GIF_SOURCES = {"photo.jpg", "rgb24.png", "argb32.png", "rgb24.bmp", "rgb24.tif"}


def expected_mode(build, source, fmt):
    """What each build writes for a source, as Pillow names it ("RGB", "P", ...) or as the file's own
    header states it ("png16" for 16 bits per channel, "bmp24" and so on)."""
    if build == "windows":
        alpha = source in WINE_ARGB_SOURCES
        if fmt == "gif" and source in WINE_FRAMELESS_GIF_SOURCES:
            return "no-frame"
        if fmt == "bmp" and source not in INDEXED_SOURCES:
            return "bmp24"  # Wine's BMP encoder writes 32-bit ARGB as 24 bits
        if fmt == "tiff" and source in INDEXED_SOURCES:
            return "P"
    else:
        alpha = source == "argb32.png"
        if fmt == "png" and source in ("rgb48.png", "rgb48.tif"):
            return "png16"  # libvips keeps 16 bits per channel in PNG
        if fmt == "bmp" and source in INDEXED_SOURCES:
            return "bmp24"  # libvips expands palettes; the BMP is written from the RGB pixels
    if fmt == "jpeg":
        return "RGB"
    if fmt == "gif":
        return "P"
    if fmt == "png":
        if source in INDEXED_SOURCES:
            return "P"
        return "RGBA" if alpha else "RGB"
    if fmt == "tiff":
        return "RGBA" if alpha else "RGB"
    if fmt == "bmp":
        if source in INDEXED_SOURCES:
            return "bmp8"
        return "bmp32" if alpha else "bmp24"
    raise ValueError(fmt)


def frameless_gif(path, width, height):
    """True for the 24 bytes Wine writes: the screen descriptor of the given size, an image
    descriptor without a colour table, and the trailer: no image data at all."""
    with open(path, "rb") as f:
        data = f.read()
    screen = b"GIF89a" + struct.pack("<HH", width, height) + b"\x77\x00\x00"
    frame = b"," + struct.pack("<HHHH", 0, 0, width, height) + b"\x00"
    return data == screen + frame + b";"


def actual_mode(path, image, fmt):
    with open(path, "rb") as f:
        head = f.read(32)
    if fmt == "png" and head[24] == 16:
        return "png16"
    if fmt == "bmp":
        return "bmp%d" % struct.unpack_from("<H", head, 28)[0]
    return image.mode


def tolerance(source, fmt, operation):
    if operation == "stretch":
        return 12.0
    if fmt == "jpeg" or source.endswith(".jpg"):
        return 8.0
    if fmt == "gif":
        return 15.0  # a fixed halftone palette (Windows) or a quantizer (Linux)
    return 1.0


def mean_difference(output, reference):
    difference = ImageChops.difference(output.convert("RGB"), reference.convert("RGB"))
    return sum(ImageStat.Stat(difference).mean) / 3.0


def check(fixtures, outputs, build, line):
    name, source, operation, fmt, width, height = line.rstrip("\n").split("\t")
    width, height = int(width), int(height)
    path = os.path.join(outputs, name)
    problems = []
    if expected_mode(build, source, fmt) == "no-frame":
        ok = frameless_gif(path, width, height)
        print("%-44s %-5s %s" % (name, "ok" if ok else "FAIL", "Wine's GIF encoder wrote no frame" if ok
                                  else "expected the frameless GIF Wine writes; the encoder changed?"))
        return ok
    try:
        with Image.open(path) as image:
            image.load()
    except OSError as error:
        print("%-44s FAIL  Pillow cannot decode it: %s" % (name, error))
        return False
    with Image.open(path) as image:
        if image.format != PILLOW_FORMATS[fmt]:
            problems.append("format %s, expected %s" % (image.format, PILLOW_FORMATS[fmt]))
        if image.size != (width, height):
            problems.append("size %s, expected %s" % (image.size, (width, height)))
        mode = actual_mode(path, image, fmt)
        wanted = expected_mode(build, source, fmt)
        if mode != wanted:
            problems.append("mode %s, expected %s" % (mode, wanted))
        with Image.open(os.path.join(fixtures, source)) as original:
            reference = original.convert("RGB")
            if operation == "stretch":
                reference = reference.resize((width, height), Image.Resampling.BICUBIC)
            if image.size == reference.size:
                difference = mean_difference(image, reference)
                allowed = tolerance(source, fmt, operation)
                if difference > allowed:
                    problems.append("pixels differ by %.2f on average, allowed %.1f" % (difference, allowed))
            else:
                difference = float("nan")
    print("%-44s %-5s %s" % (name, "ok" if not problems else "FAIL", "; ".join(problems) or
                              "mode %s, mean difference %.2f" % (mode, difference)))
    return not problems


def main():
    fixtures, outputs, build = sys.argv[1], sys.argv[2], sys.argv[3]
    with open(os.path.join(outputs, "manifest.tsv")) as f:
        lines = [line for line in f if line.strip()]
    if not lines:
        print("no outputs listed in", outputs)
        return 1
    results = [check(fixtures, outputs, build, line) for line in lines]
    print("%d outputs checked, %d failed" % (len(results), results.count(False)))
    return 0 if all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
