#!/usr/bin/env python3
"""module_resources.py MODULE VERSION: version information and the tile image are in the module."""
import struct
import sys

import pe_image
import tree

TILE_IMAGE = 101
LEAST_SIDE_PIXELS = 128
LEAST_COLOURS = 64  # fewer are hardly a picture
FIXED_INFO_SIGNATURE = 0xFEEF04BD  # VS_FIXEDFILEINFO.dwSignature


def version_problems(data, version):
    if data is None:
        return ["there is no version resource"]
    start = data.find(struct.pack("<I", FIXED_INFO_SIGNATURE))
    if start < 0:
        return ["the version resource has no fixed part"]
    high, low = struct.unpack_from("<II", data, start + 8)
    numbers = f"{high >> 16}.{high & 0xFFFF}.{low >> 16}"
    problems = [] if numbers == version else [f"the file version is {numbers}, not {version}"]
    strings = data.decode("utf-16-le", errors="replace")
    for name in ("CompanyName", "FileDescription", "FileVersion", "InternalName",
                 "OriginalFilename", "ProductName", "ProductVersion"):
        if name not in strings:
            problems.append(f"the version resource lacks {name}")
    return problems


def bitmap_problems(data):
    if data is None:
        return [f"there is no bitmap {TILE_IMAGE}"]
    header, width, height, _, depth, compression = struct.unpack_from("<IiiHHI", data)
    colours = struct.unpack_from("<I", data, 32)[0]
    problems = []
    if min(width, height) < LEAST_SIDE_PIXELS:
        problems.append(f"the tile image has {width} x {height} pixels")
    if depth != 8 or compression != 0:
        problems.append(f"the tile image has {depth} bits a pixel, compression {compression}")
    palette = {data[at:at + 4] for at in range(header, header + 4 * colours, 4)}
    if len(palette) != colours or not LEAST_COLOURS <= colours <= 256:
        problems.append(f"the tile image has {len(palette)} colours in a palette of {colours}")
    pixels = data[header + 4 * colours:]
    if len(pixels) != (width + 3) // 4 * 4 * height:
        problems.append("the tile image is not as long as its header says")
    elif len(set(pixels)) != colours:
        problems.append("the tile image and its palette have not the same colours")
    return problems


image = pe_image.PeImage(sys.argv[1])
tree.finish(version_problems(image.resource(pe_image.RESOURCE_VERSION, 1), sys.argv[2]) +
            bitmap_problems(image.resource(pe_image.RESOURCE_BITMAP, TILE_IMAGE)),
            "See src/module/module.rc.")
