#!/usr/bin/env python3
"""Makes timing_values.txt with Python: durations in single precision and points in time as text.

D MAJOR FRACTION SIGN = BITS OK
  Contents octets of two INTEGERs (hexadecimal) and a sign (- for none); the duration is
    single(single(FRACTION / 1000000) + single(MAJOR)) * single(SIGN)
  of the low 32 bits of each, unsigned. single() is struct's rounding to an IEEE single-precision number,
  whose bits are given. An INTEGER of more than 8 octets, one leading zero octet apart, counts as 0; OK
  is then 0.
T MAJOR = TEXT
  Contents octets of seconds since 1900 and the time in UTC, from datetime; "-" where the count of seconds
  since 1970 is below -43200 or above 2147483647.

usage: make_timing_values.py > timing_values.txt     (the same each time)
"""
import datetime
import random
import struct


def single(number):
    return struct.unpack("<f", struct.pack("<f", number))[0]


def contents(number):
    size = 1
    while not -(1 << (8 * size - 1)) <= number < 1 << (8 * size - 1):
        size += 1
    return number.to_bytes(size, "big", signed=True)


def value(octets):
    """The octets as an unsigned number, and whether they fit 64 bits."""
    if len(octets) > 9 or (len(octets) == 9 and octets[0] != 0):
        return 0, False
    return int.from_bytes(octets, "big"), True


def duration(major, fraction, sign):
    (m, m_fits), (f, f_fits) = value(major), value(fraction)
    m, f = m & 0xFFFFFFFF, f & 0xFFFFFFFF
    # The sum of two single-precision numbers is exact enough in double precision that rounding it again gives
    # the result of one rounding (a double has more than twice as many digits).
    seconds = single(single(f / 1000000) + single(float(m)))
    if sign is not None:
        seconds = single(single(float(sign)) * seconds)
    bits = struct.unpack("<I", struct.pack("<f", seconds))[0]
    print(f"D {major.hex()} {fraction.hex()} {'-' if sign is None else sign} = {bits:08x} {int(m_fits and f_fits)}")


def point(major):
    number, fits = value(major)
    seconds = number - 2208988800
    text = "-"
    if fits and -43200 <= seconds <= 2147483647:
        text = (datetime.datetime(1970, 1, 1) + datetime.timedelta(seconds=seconds)).strftime("%Y%m%d%H%M%SZ")
    print(f"T {major.hex()} = {text}")


for line in __doc__.strip().splitlines():
    print(f"# {line}".rstrip())

generator = random.Random(3161)
SIGNS = [None, 1, -1, 0, 2, -7, 16777217, 2147483647, -2147483648]
NUMBERS = [0, 1, 127, 128, 255, 65535, 250000, 500000, 999999, 1000000, 1000001, 8388607, 16777215, 16777216,
           16777217, 33554435, 2147483647, 2147483648, 4294967294, 4294967295,
           # Only the low 32 bits count.
           4294967296, 4294967301, (1 << 63) - 1, 1 << 63, (1 << 64) - 1,
           # The octets of a negative number are taken as unsigned.
           -1, -2, -128, -250000, -(1 << 31), -(1 << 63)]
LONG = [bytes(9), bytes([0]) + bytes([255]) * 8, bytes([1]) + bytes(8), bytes([255]) * 9, bytes(10), bytes(20),
        bytes([0x7F]) * 41]

for number in NUMBERS:
    duration(contents(number), contents(0), None)
    duration(contents(0), contents(number), None)
    duration(contents(number), contents(250000), -1)
    duration(contents(5), contents(number), 2)
for sign in SIGNS:
    for major, fraction in [(0, 0), (0, 250000), (3, 999999), (16777217, 1), (4294967295, 4294967295)]:
        duration(contents(major), contents(fraction), sign)
for octets in LONG:
    duration(octets, contents(500000), None)
    duration(contents(7), octets, -1)
    duration(octets, octets, 1)
duration(b"", contents(1), None)
duration(contents(1), b"", None)
for _ in range(300):
    duration(contents(generator.getrandbits(generator.randint(1, 64))),
             contents(generator.getrandbits(generator.randint(1, 33))),
             generator.choice(SIGNS + [-1, 1]))

EPOCH = 2208988800
for number in [0, 1, 2208902400, EPOCH - 43201, EPOCH - 43200, EPOCH - 43199, EPOCH - 1, EPOCH, EPOCH + 1, EPOCH + 59,
               EPOCH + 86399, EPOCH + 86400, 3913056000, 3913142400, 4294967295, 4294967296, 4356472446, 4356472447,
               4356472448, 4356472449, 4356472447 + (1 << 31), (1 << 32) + EPOCH + (1 << 32), (1 << 63) - 1, 1 << 63,
               (1 << 64) - 1, -1, -EPOCH]:
    point(contents(number))
for octets in LONG + [b"", bytes(5) + contents(EPOCH)[1:], bytes(4) + contents(3913056000)]:
    point(octets)
for year in range(1970, 2038):  # the days around each end of February
    for month, day in [(1, 1), (2, 28), (3, 1), (12, 31)]:
        at = datetime.datetime(year, month, day, 23, 59, 58) - datetime.datetime(1970, 1, 1)
        point(contents(EPOCH + int(at.total_seconds())))
        point(contents(EPOCH + int(at.total_seconds()) + 2))
for _ in range(200):
    point(contents(generator.randint(EPOCH - 43200, 4356472447)))
