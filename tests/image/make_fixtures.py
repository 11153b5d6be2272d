#!/usr/bin/python3
"""Writes the image test inputs with Pillow (an encoder independent of the library).

make_fixtures.py OUTDIR [--large]

Every picture has four differently coloured quadrants and a gradient, so that swapped channels,
flipped rows or a wrong size show up when an output is compared with its source. OUTDIR/bad/
holds a corpus of files that no decoder should accept: cut inside their headers, with broken
signatures or impossible sizes, or random bytes. --large also writes the 4000x3000 JPEG that the
benchmarks convert.
"""
import os
import random
import struct
import sys
import zlib

from PIL import Image

WIDTH, HEIGHT = 64, 48


def pattern(width, height):
    image = Image.new("RGB", (width, height))
    pixels = image.load()
    for y in range(height):
        for x in range(width):
            quadrant = (x * 2 // width) + 2 * (y * 2 // height)
            base = [(220, 40, 40), (40, 200, 60), (40, 60, 220), (230, 210, 50)][quadrant]
            shade = (x * 40) // width
            pixels[x, y] = tuple(min(255, c + shade) for c in base)
    return image


def png_chunk(kind, data):
    return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data) & 0xFFFFFFFF)


def png_48bit(image):
    """Pillow cannot write 16 bits per channel RGB, so the PNG is put together by hand."""
    width, height = image.size
    rows = bytearray()
    for y in range(height):
        rows.append(0)  # filter: none
        for x in range(width):
            for channel in image.getpixel((x, y)):
                rows += struct.pack(">H", channel * 257)
    header = struct.pack(">IIBBBBB", width, height, 16, 2, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", header) + png_chunk(b"IDAT", zlib.compress(bytes(rows)))
            + png_chunk(b"IEND", b""))


def tiff_48bit(image):
    """A baseline TIFF of 16 bits per channel RGB, uncompressed in one strip (Pillow cannot write it)."""
    width, height = image.size
    pixels = b"".join(struct.pack("<HHH", *(c * 257 for c in image.getpixel((x, y))))
                      for y in range(height) for x in range(width))
    entries = [(256, 4, 1, width), (257, 4, 1, height), (258, 3, 3, None), (259, 3, 1, 1), (262, 3, 1, 2),
               (273, 4, 1, None), (277, 3, 1, 3), (278, 4, 1, height), (279, 4, 1, len(pixels)), (284, 3, 1, 1)]
    ifd_size = 2 + 12 * len(entries) + 4
    bits_at = 8 + ifd_size
    pixels_at = bits_at + 6
    ifd = struct.pack("<H", len(entries))
    for tag, kind, count, value in entries:
        if tag == 258:
            value = bits_at
        elif tag == 273:
            value = pixels_at
        if kind == 3 and count == 1:
            ifd += struct.pack("<HHIHH", tag, kind, count, value, 0)
        else:
            ifd += struct.pack("<HHII", tag, kind, count, value)
    ifd += struct.pack("<I", 0)
    return b"II*\x00" + struct.pack("<I", 8) + ifd + struct.pack("<HHH", 16, 16, 16) + pixels


def write(outdir, name, data):
    with open(os.path.join(outdir, name), "wb") as f:
        f.write(data)


def save(image, outdir, name, **options):
    image.save(os.path.join(outdir, name), **options)


def write_good(outdir):
    source = pattern(WIDTH, HEIGHT)
    save(source, outdir, "photo.jpg", quality=95)
    save(source.quantize(colors=256, method=Image.Quantize.MEDIANCUT), outdir, "indexed8.png")
    save(source, outdir, "rgb24.png")
    save(source.convert("RGBA"), outdir, "argb32.png")
    write(outdir, "rgb48.png", png_48bit(source))
    write(outdir, "rgb48.tif", tiff_48bit(source))
    save(source, outdir, "rgb24.bmp")
    save(source.quantize(colors=256, method=Image.Quantize.MEDIANCUT), outdir, "indexed.gif")
    save(source, outdir, "rgb24.tif")
    # Resizing inputs: a 640x480 picture, one uniform colour, and a JPEG.
    save(pattern(640, 480), outdir, "large640x480.png")
    save(Image.new("RGB", (640, 480), (30, 144, 255)), outdir, "uniform640x480.png")
    save(pattern(640, 480), outdir, "large640x480.jpg", quality=90)
    # What the clipboard gets: a 2x2 24-bit BMP with the 54-byte header (14 + 40).
    save(pattern(2, 2), outdir, "tiny2x2.bmp")


def write_bad(outdir):
    bad = os.path.join(outdir, "bad")
    os.makedirs(bad, exist_ok=True)
    for name in ("photo.jpg", "rgb24.png", "rgb24.bmp", "indexed.gif", "rgb24.tif", "argb32.png"):
        with open(os.path.join(outdir, name), "rb") as f:
            data = f.read()
        stem, ext = os.path.splitext(name)
        # Cut inside the headers: no decoder knows the size or the pixel layout yet.
        for length in (1, 4, 9, 13):
            write(bad, f"{stem}-cut{length}{ext}", data[:length])
        # The signature broken: the bytes no longer say what they are.
        write(bad, f"{stem}-nosignature{ext}", bytes(b ^ 0x5A for b in data[:4]) + data[4:])
    with open(os.path.join(outdir, "rgb24.png"), "rb") as f:
        png = f.read()
    # A PNG whose header claims a gigapixel image but carries no pixels for it.
    forged = png_chunk(b"IHDR", struct.pack(">IIBBBBB", 60000, 60000, 8, 2, 0, 0, 0))
    write(bad, "rgb24-gigapixel.png", png[:8] + forged + png_chunk(b"IEND", b""))
    # A PNG of zero width.
    zero = png_chunk(b"IHDR", struct.pack(">IIBBBBB", 0, 48, 8, 2, 0, 0, 0))
    write(bad, "rgb24-zerowidth.png", png[:8] + zero + png[33:])
    generator = random.Random(20261123)
    for index in range(8):
        write(bad, f"random{index}.bin", bytes(generator.randrange(256) for _ in range(64 + 97 * index)))


def main():
    outdir = sys.argv[1]
    os.makedirs(outdir, exist_ok=True)
    write_good(outdir)
    write_bad(outdir)
    if "--large" in sys.argv:
        save(pattern(4000, 3000), outdir, "large4000x3000.jpg", quality=90)


if __name__ == "__main__":
    main()
