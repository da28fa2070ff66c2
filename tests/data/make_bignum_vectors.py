#!/usr/bin/env python3
"""Writes bignum_divrem.txt, bignum_modexp.txt, bignum_modinv.txt and odd_multiple.txt.

The laws are computed by Python's divmod, pow and int.bit_length. The seed is fixed:
the files come out the same on every run.
"""
import os
import random

HERE = os.path.dirname(os.path.abspath(__file__))
rng = random.Random(20240229)
WORDS = [0, 1, 0x7FFFFFFF, 0x80000000, 0x80000001, 0xFFFFFFFE, 0xFFFFFFFF]


def h(x):
    return ("-" if x < 0 else "") + format(abs(x), "x")


def awkward(words):
    """A number of that many words, many of them from WORDS; the top one is not 0."""
    x = rng.choice(WORDS[1:] + [rng.getrandbits(32) | 1])
    for _ in range(words - 1):
        x = x << 32 | (rng.choice(WORDS) if rng.random() < 0.5 else rng.getrandbits(32))
    return x


def sized(bits):
    return rng.getrandbits(bits) | 1 << (bits - 1) if bits else 0


def write(name, head, records):
    with open(os.path.join(HERE, name), "w") as f:
        for line in head:
            f.write("# " + line + "\n")
        for record in records:
            f.write("\n")
            for key, value in record:
                f.write("%s = %s\n" % (key, value))


def divrem():
    records = []

    def case(a, d):
        q, r = divmod(a, d)
        records.append([("A", h(a)), ("D", h(d)), ("Q", h(q)), ("R", h(r))])

    for a, d in [(7, 2), (0, 3), (1, 1), (6, 3), (2**32, 1), (2**64 - 1, 2**32), (2**96, 2**96 - 1)]:
        for sa in (1, -1):
            for sd in (1, -1):
                case(sa * a, sd * d)
    for ld in (1, 2, 3, 5, 16, 33):
        for la in (1, 2, 3, 4, 6, 17, 40, 66):
            for _ in range(4):
                d = awkward(ld)
                a = awkward(la)
                case(rng.choice((1, -1)) * a, rng.choice((1, -1)) * d)
                # Close below and above a multiple, where estimates are off.
                near = d * awkward(max(1, la - ld)) + rng.choice((-1, 0, 1))
                case(rng.choice((1, -1)) * near, rng.choice((1, -1)) * d)
    write("bignum_divrem.txt", ["A = Q * D + R, 0 <= R / D < 1; from Python's divmod (make_bignum_vectors.py)"],
          records)


def modexp():
    records = []

    def case(a, e, m):
        records.append([("A", h(a)), ("E", h(e)), ("M", h(m)), ("ModExp", h(pow(a, e, m)))])

    for m in (1, 2, 3, 4, 2**31 - 1, 2**31, 2**32 - 1, 2**32, 2**32 + 1, 2**64 - 1):
        for e in (0, 1, 2, 65537, 2**31, 2**32 + 7):
            for a in (0, 1, 2, m - 1, m, m + 1, 3 * m + 2, -1, -5):
                case(a, e, m)
    for bits in (31, 32, 33, 63, 64, 95, 96, 127, 160, 161, 224, 256, 1000, 1023, 1024, 1025, 1056, 2048):
        for odd in (1, 0):
            m = sized(bits) & ~1 | odd
            for ebits in (0, 1, 17, 31, 32, 33, 255, 256, 257) + ((bits,) if bits <= 1056 else ()):
                case(rng.randrange(m), sized(ebits), m)
            case(m * 5 + rng.randrange(m), 65537, m)
            case(-rng.randrange(m), 65537, m)
            case(rng.randrange(m), 0x8000000000000001 << 300, m)
            case(rng.randrange(m), 2**300 - 1, m)
    for m in (2**1024 - 1, 2**1000 - 1, 2**1023 + 1, 2**1056 - 2**32 + 1):
        case(m - 1, 65537, m)
        case(m - 2, 2**256 + 1, m)
    for m in (-7, -8, -(2**64 - 1), -(2**100)):
        for a in (-9, 0, 3, 10):
            case(a, 5, m)
    write("bignum_modexp.txt", ["A ^ E = ModExp mod M, from Python's pow (make_bignum_vectors.py)"], records)


def modinv():
    records = []

    def case(a, m):
        try:
            inverse = h(pow(a, -1, m))
        except ValueError:
            inverse = "none"
        records.append([("A", h(a)), ("M", h(m)), ("Inverse", inverse)])

    for a, m in [(6, 9), (3, 7), (1, 1), (5, 1), (0, 1), (0, 7), (1, 2), (10, 7), (-3, 7), (-1, 8), (7, 7), (2**64, 3)]:
        case(a, m)
    for bits in (31, 32, 33, 64, 160, 161, 256, 512, 1024):
        for _ in range(4):
            m = sized(bits) | 1
            case(rng.randrange(m), m)
            case(-rng.randrange(m), m)
            case(rng.randrange(m * m), m + 1)
    write("bignum_modinv.txt",
          ["A * Inverse = 1 mod M, 0 <= Inverse < M, or none; from Python's pow(a, -1, m) (make_bignum_vectors.py)"],
          records)


def odd_multiple():
    records = []

    def expected(m):
        k = m.bit_length() % 32
        if k == 0:
            return 0, m
        for number, factor in enumerate((2**(32 - k) + 1, 2**(32 - k) - 1, 2**(64 - k) - 1), 1):
            if (m * factor).bit_length() % 32 == 0:
                return number, m * factor
        raise AssertionError("no candidate fits %x" % m)

    seen = {0: 0, 1: 0, 2: 0, 3: 0}

    def case(m):
        number, multiple = expected(m)
        seen[number] += 1
        records.append([("m", h(m)), ("Candidate", number), ("M", h(multiple))])

    for bits in list(range(1, 66)) + [159, 160, 161, 999, 1000, 1023, 1024]:
        case(2**(bits - 1) | 1)
        case(2**bits - 1)
        for s in {32 - bits % 32}:
            edge = 2**(bits + s) // (2**s + 1)  # where the first candidate grows by a bit
            for m in (edge - 2 | 1, edge | 1, edge + 2 | 1):
                if m > 0 and m.bit_length() == bits:
                    case(m)
    assert min(seen.values()) > 0, seen
    write("odd_multiple.txt",
          ["M = m * factor: the first of the factors 2^(32-k)+1, 2^(32-k)-1, 2^(64-k)-1 (Candidate 1, 2, 3), with",
           "k = bits(m) mod 32, that gives whole words of 32 bits; 0: m has them. From Python (make_bignum_vectors.py)"],
          records)


divrem()
modexp()
modinv()
odd_multiple()
