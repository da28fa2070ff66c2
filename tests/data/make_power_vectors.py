#!/usr/bin/env python3
"""Writes power.txt: products of powers modulo odd numbers, computed by Python's pow.

A line is: bit length of the modulus, modulus, base and exponent, perhaps another base and exponent, sum. Long
numbers are written as the seeds from which this script and the tests make them (tests/crypto/bignum/power_cases.h):

  rN, aN    64-bit words of SplitMix64 from the seed N, the lowest first, cut to the bits wanted; with a, a word that
            is 0 modulo 4 becomes 0, and one that is 1 modulo 4 becomes all ones. Moduli get their top and lowest bit
            set; bases have one bit less.
  ones      a modulus 2^bits - 1, a base 2^(bits - 1) - 1
  low       a modulus 2^(bits - 1) + 1
  0 1 2 -1 -2  bases; -1 is modulus - 1
  xH        an exponent in hexadecimal
  rN:B      an exponent of B bits from the seed N, its top bit set

The sum of a result is s(0) = 0, s(i + 1) = s(i) * 0x100000001b3 + word i modulo 2^64, over its 64-bit words from the
lowest, as many as the modulus has.
"""
import os
import random

HERE = os.path.dirname(os.path.abspath(__file__))
M64 = 2**64 - 1
rng = random.Random(20261122)


def words(seed, bits, awkward):
    x, state, shift = 0, seed, 0
    while shift < bits:
        state = (state + 0x9E3779B97F4A7C15) & M64
        z = ((state ^ state >> 30) * 0xBF58476D1CE4E5B9) & M64
        z = ((z ^ z >> 27) * 0x94D049BB133111EB) & M64
        z ^= z >> 31
        if awkward and z % 4 < 2:
            z = M64 if z % 4 else 0
        x |= z << shift
        shift += 64
    return x & ((1 << bits) - 1)


def seeded(text, bits):
    return words(int(text[1:]), bits, text[0] == "a")


def modulus(text, bits):
    if text == "ones":
        return 2**bits - 1
    if text == "low":
        return 2**(bits - 1) + 1
    return seeded(text, bits) | 1 << (bits - 1) | 1


def base(text, m, bits):
    if text == "ones":
        return 2**(bits - 1) - 1
    if text[0] in "ra":
        return seeded(text, bits - 1)
    return int(text) % m


def exponent(text):
    if text[0] == "x":
        return int(text[1:], 16)
    seed, bits = text.split(":")
    return words(int(seed[1:]), int(bits), False) | 1 << (int(bits) - 1)


def line(bits, m, *terms):
    n = modulus(m, bits)
    value = 1
    for b, e in zip(terms[::2], terms[1::2]):
        value = value * pow(base(b, n, bits), exponent(e), n) % n
    total = 0
    for i in range((bits + 63) // 64):
        total = (total * 0x100000001B3 + (value >> 64 * i & M64)) & M64
    return " ".join([str(bits), m, *terms, format(total, "016x")])


def pick(*choices):
    c = rng.choice(choices)
    return c + str(rng.randrange(1000)) if c in ("r", "a") else c


def any_modulus():
    return pick("r", "a", "a", "ones", "low")


def any_base():
    return pick("r", "a", "a", "ones", "-1", "-2")


def any_exponent():
    k = rng.randrange(1, 40)
    return rng.choice(["x3", "x10001", "x%x" % (2**k - 1), "x%x" % 2**k, "x%x" % (2**k + 1),
                       "r%d:%d" % (rng.randrange(1000), rng.randrange(1, 60))])


def near(bits):
    return [bits + d for d in range(-3, 4)]


def main():
    lines = []
    for bits in range(3, 1101):  # every length
        lines.append(line(bits, any_modulus(), any_base(), any_exponent()))
    lengths = {b for k in range(16, 65) for b in near(64 * k)}  # around digits of 64 bits
    lengths |= {b for k in range(19, 80) for b in near(52 * k - 4)}  # around the digits' room of the form "ifma"
    lengths |= set(near(1024) + near(2048) + near(3072) + near(4096) + [5000, 6143, 6144, 8191, 8192])
    for bits in sorted(lengths):
        lines.append(line(bits, any_modulus(), any_base(), any_exponent()))
    for bits in (3, 31, 32, 33, 64, 65, 128, 1024, 1025, 2047, 2048, 3072, 4095, 4096, 4097):
        for m in ("ones", "low", "r1", "a2"):
            for b in ("0", "1", "2", "-1", "-2", "ones", "r3", "a4"):
                for e in ("x0", "x1", "x2", "x3", "x11", "x10001"):
                    lines.append(line(bits, m, b, e))
    for bits in (160, 1023, 1024, 2048, 3072, 4096):  # tables of powers, and two factors
        for m in ("ones", "low", "r1", "a2"):
            for e in ("r5:31", "r5:32", "r6:33", "r7:160", "r8:256", "x" + "f" * 40, "x1" + "0" * 40):
                lines.append(line(bits, m, any_base(), e))
                lines.append(line(bits, m, any_base(), e, any_base(), "r9:%d" % rng.choice((160, 255, 256))))
            for one, other in (("x0", "x0"), ("x0", "r1:160"), ("r1:160", "x0"), ("x1", "x1"), ("x10001", "r2:256")):
                lines.append(line(bits, m, any_base(), one, any_base(), other))
            lines.append(line(bits, m, "0", "r1:160", "r2", "r3:160"))
            lines.append(line(bits, m, "0", "x0", "-1", "x3"))
    with open(os.path.join(HERE, "power.txt"), "w") as f:
        f.write("# Products of powers from Python's pow; make_power_vectors.py describes and writes them.\n")
        f.writelines(text + "\n" for text in lines)


if __name__ == "__main__":
    main()
