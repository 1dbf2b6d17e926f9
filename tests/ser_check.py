#!/usr/bin/env python3
"""Reads a SER file and prints "FRAMES WIDTHxHEIGHT DEPTH". Ends with an error when the file is not whole: header,
frames back to back, and nothing behind the last one."""

import struct
import sys

HEADER_BYTES = 178
NUMBERS = struct.Struct("<14s7i")  # magic, LuID, ColorID, LittleEndian, width, height, depth, frames
TIMES = struct.Struct("<qq")
TIMES_AT = 162
YEAR_2000 = 630822816000000000  # in 100-nanosecond units since the year 1


def check(condition, text):
    if not condition:
        sys.exit(f"{sys.argv[1]}: {text}")


with open(sys.argv[1], "rb") as file:
    data = file.read(HEADER_BYTES)
    size = file.seek(0, 2)

check(len(data) == HEADER_BYTES, "shorter than its header")
magic, _, colour, little_endian, width, height, depth, frames = NUMBERS.unpack_from(data)
check(magic == b"LUCAM-RECORDER", "wrong magic")
check(colour in (0, 8, 9, 10, 11), f"colour {colour}")
check(little_endian == 0, "the byte order flag is not 0")
check(frames > 0, "no frames")
sample_bytes = 1 if depth <= 8 else 2
expected = HEADER_BYTES + frames * width * height * sample_bytes
check(size == expected, f"{size} bytes, but {frames} frames need {expected}")
for time in TIMES.unpack_from(data, TIMES_AT):
    check(time & 0x3FFFFFFFFFFFFFFF > YEAR_2000, "no time")
print(frames, f"{width}x{height}", depth)
