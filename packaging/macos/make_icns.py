#!/usr/bin/env python3
"""Writes the icon of a Mac bundle, in every size, from a drawing.

make_icns.py [--renderer RSVG_CONVERT] DRAWING.svg ICON.icns
"""
import argparse
import struct
import subprocess
import zlib

# The width in pixels of each element of the file; first the plain sizes, then those for screens with
# double resolution. All are PNG, except for the two smallest, which have separate colour channels and a
# mask.
PNG_SIZES = {b"ic07": 128, b"ic08": 256, b"ic09": 512,
             b"ic11": 32, b"ic12": 64, b"ic13": 256, b"ic14": 512, b"ic10": 1024}
CHANNEL_SIZES = {(b"is32", b"s8mk"): 16, (b"il32", b"l8mk"): 32}


def rendered(renderer, drawing, pixels):
    """Returns the drawing as a PNG, `pixels` wide and high."""
    size = str(pixels)
    return subprocess.run([renderer, "--width", size, "--height", size, "--format", "png", drawing],
                          check=True, stdout=subprocess.PIPE).stdout


def chunks(png):
    at = 8
    while at < len(png):
        length, kind = struct.unpack_from(">I4s", png, at)
        yield kind, png[at + 8:at + 8 + length]
        at += length + 12


def predicted(kind, left, up, corner):
    """Returns the value that a PNG filter of this kind adds to a byte."""
    if kind == 4:
        base = left + up - corner
        return min((left, up, corner), key=lambda near: abs(base - near))
    return (0, left, up, (left + up) // 2)[kind]


def pixels_of(png):
    """Returns red, green, blue and alpha of every pixel, row by row."""
    width, height, depth, colors, _, _, interlaced = struct.unpack(">IIBBBBB", png[16:29])
    if (depth, colors, interlaced) != (8, 6, 0):
        raise ValueError("the renderer wrote another kind of PNG than RGBA of 8 bits")
    data = zlib.decompress(b"".join(body for kind, body in chunks(png) if kind == b"IDAT"))
    row, above, pixels = 4 * width, bytearray(4 * width), bytearray()
    for start in range(0, height * (row + 1), row + 1):
        line = bytearray(data[start + 1:start + 1 + row])
        for i in range(row):
            left, corner = (line[i - 4], above[i - 4]) if i >= 4 else (0, 0)
            line[i] = (line[i] + predicted(data[start], left, above[i], corner)) & 255
        pixels += line
        above = line
    return pixels


def packed(channel):
    """Compresses a channel: a run of 3 to 130 equal bytes becomes its length and the byte, and up to 128
    other bytes follow their number."""
    result, plain, at = bytearray(), bytearray(), 0

    def flush():
        for i in range(0, len(plain), 128):
            part = plain[i:i + 128]
            result.append(len(part) - 1)
            result.extend(part)
        plain.clear()

    while at < len(channel):
        run = 1
        while run < 130 and channel[at:at + 1] == channel[at + run:at + run + 1]:
            run += 1
        if run >= 3:
            flush()
            result.extend((run + 125, channel[at]))
        else:
            plain.extend(channel[at:at + run])
        at += run
    flush()
    return bytes(result)


def elements(renderer, drawing):
    for (color, mask), size in CHANNEL_SIZES.items():
        pixels = pixels_of(rendered(renderer, drawing, size))
        yield color, b"".join(packed(pixels[channel::4]) for channel in range(3))
        yield mask, bytes(pixels[3::4])
    pngs = {size: rendered(renderer, drawing, size) for size in set(PNG_SIZES.values())}
    for kind, size in PNG_SIZES.items():
        yield kind, pngs[size]


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--renderer", default="rsvg-convert")
    parser.add_argument("drawing")
    parser.add_argument("icon")
    wanted = parser.parse_args()
    body = b"".join(kind + struct.pack(">I", len(data) + 8) + data
                    for kind, data in elements(wanted.renderer, wanted.drawing))
    with open(wanted.icon, "wb") as file:
        file.write(b"icns" + struct.pack(">I", len(body) + 8) + body)


if __name__ == "__main__":
    main()
