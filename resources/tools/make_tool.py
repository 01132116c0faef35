#!/usr/bin/env python3
"""Writes a tool definition image, by default dummy_tool.rom: the one that is loaded when a user has
registered none.

The tool has no markers, so a real device never sees it; a loaded and enabled tool is what makes an
optical device report bare markers. The part number of the dummy is the one that the streams reserve
for it. With another part number the image serves the demo and tests, for a simulated device.
"""

import argparse
import struct
import sys
from pathlib import Path

IMAGE_SIZE = 1024
MAGIC = b"NDI\0"
PASSIVE_TOOL = 0x02
# Texts end with a zero byte; all unused bytes are zero.
MANUFACTURER_AT, MANUFACTURER = 580, b"MORVALIN"
PART_NUMBER_AT, PART_NUMBER_SIZE = 592, 20
DUMMY_PART_NUMBER = "999999999"


def image(part_number: str) -> bytes:
    data = bytearray(IMAGE_SIZE)
    data[0:4] = MAGIC
    struct.pack_into("<B", data, 12, PASSIVE_TOOL)
    struct.pack_into("<B", data, 28, 0)  # number of markers
    for offset, text in ((MANUFACTURER_AT, MANUFACTURER), (PART_NUMBER_AT, part_number.encode())):
        data[offset : offset + len(text)] = text
    # Sum of all bytes behind this field.
    struct.pack_into("<H", data, 4, sum(data[6:]) & 0xFFFF)
    return bytes(data)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--part-number", default=DUMMY_PART_NUMBER, help="at most 19 characters")
    parser.add_argument("--check", action="store_true", help="fail unless FILE is that image")
    parser.add_argument("file", metavar="FILE", type=Path)
    arguments = parser.parse_args()
    if len(arguments.part_number.encode()) >= PART_NUMBER_SIZE:
        parser.error("the part number is too long")

    wanted = image(arguments.part_number)
    if not arguments.check:
        arguments.file.write_bytes(wanted)
    elif arguments.file.read_bytes() != wanted:
        print(f"{arguments.file} is not what this script writes", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
