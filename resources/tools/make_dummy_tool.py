#!/usr/bin/env python3
"""Writes dummy_tool.rom, the tool definition that is loaded when a user has registered none.

The tool has no markers, so a device never sees it; a loaded and enabled tool is what makes an
optical device report bare markers. Its part number is the one that the streams reserve for it.

    make_dummy_tool.py FILE           writes the image
    make_dummy_tool.py --check FILE   fails unless the file is that image
"""

import struct
import sys
from pathlib import Path

IMAGE_SIZE = 1024
# Offset and text; every text ends with a zero byte and all unused bytes are zero.
TEXTS = {
    580: b"MORVALIN",  # manufacturer, at most 12 characters with the zero
    592: b"999999999",  # part number, at most 20 characters
}
PASSIVE_TOOL = 0x02
MAGIC = b"NDI\0"


def image() -> bytes:
    data = bytearray(IMAGE_SIZE)
    data[0:4] = MAGIC
    struct.pack_into("<B", data, 12, PASSIVE_TOOL)
    struct.pack_into("<B", data, 28, 0)  # number of markers
    for offset, text in TEXTS.items():
        data[offset : offset + len(text)] = text
    # Sum of all bytes behind this field.
    struct.pack_into("<H", data, 4, sum(data[6:]) & 0xFFFF)
    return bytes(data)


def main(arguments: list[str]) -> int:
    if len(arguments) == 1 and not arguments[0].startswith("-"):
        Path(arguments[0]).write_bytes(image())
        return 0
    if len(arguments) == 2 and arguments[0] == "--check":
        if Path(arguments[1]).read_bytes() == image():
            return 0
        print(f"{arguments[1]} is not what this script writes", file=sys.stderr)
        return 1
    print(__doc__, file=sys.stderr)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
