#!/usr/bin/env python3
"""Makes digests_by_length.txt and digests_by_count.txt in the folder of this file.

The first comes from Python's hashlib. The second needs message lengths that nobody can
feed, so the compression functions are written out here by RFC 1321 and FIPS 180-4, with
constants from their definitions, and compared with hashlib before anything is written.
"""
import hashlib
import os
from decimal import Decimal, getcontext
from math import isqrt

getcontext().prec = 60
NAMES = ('MD5', 'SHA1', 'SHA256', 'SHA384', 'SHA512')


def message(n):
    return bytes((31 * i + n) % 256 for i in range(n))


def primes(n):
    found, k = [], 2
    while len(found) < n:
        if all(k % p for p in found):
            found.append(k)
        k += 1
    return found


def cube_root(n):
    x = 1 << (n.bit_length() + 2) // 3
    while (y := (2 * x + n // (x * x)) // 3) < x:
        x = y
    return x


def sine(x):
    term = total = Decimal(x)
    k = 1
    while abs(term) > Decimal(10) ** -50:
        term = -term * x * x / ((k + 1) * (k + 2))
        total += term
        k += 2
    return total


def rotl(x, n):
    return (x << n | x >> 32 - n) & 0xffffffff


def words(block, size, order):
    return [int.from_bytes(block[i:i + size], order) for i in range(0, len(block), size)]


T = [int(abs(sine(i + 1)) * 2 ** 32) for i in range(64)]
SHIFTS = ((7, 12, 17, 22), (5, 9, 14, 20), (4, 11, 16, 23), (6, 10, 15, 21))
START = [0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0]


def md5(state, block):
    x = words(block, 4, 'little')
    a, b, c, d = state
    for i in range(64):
        f, k = ((b & c | ~b & d, i), (b & d | c & ~d, 5 * i + 1),
                (b ^ c ^ d, 3 * i + 5), (c ^ (b | ~d & 0xffffffff), 7 * i))[i // 16]
        a, b, c, d = d, (b + rotl((a + f + x[k % 16] + T[i]) & 0xffffffff,
                                  SHIFTS[i // 16][i % 4])) & 0xffffffff, b, c
    return [(s + v) & 0xffffffff for s, v in zip(state, (a, b, c, d))]


def sha1(state, block):
    w = words(block, 4, 'big')
    for t in range(16, 80):
        w.append(rotl(w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16], 1))
    a, b, c, d, e = state
    for t in range(80):
        f, k = ((b & c | ~b & d, 0x5a827999), (b ^ c ^ d, 0x6ed9eba1),
                (b & c | b & d | c & d, 0x8f1bbcdc), (b ^ c ^ d, 0xca62c1d6))[t // 20]
        a, b, c, d, e = (rotl(a, 5) + f + e + k + w[t]) & 0xffffffff, a, rotl(b, 30), c, d
    return [(s + v) & 0xffffffff for s, v in zip(state, (a, b, c, d, e))]


def sha2(bits, rounds, big0, big1, small0, small1):
    mask = (1 << bits) - 1
    consts = [cube_root(p << 3 * bits) & mask for p in primes(rounds)]

    def rotr(x, n):
        return (x >> n | x << bits - n) & mask

    def big(x, r):
        return rotr(x, r[0]) ^ rotr(x, r[1]) ^ rotr(x, r[2])

    def small(x, r):
        return rotr(x, r[0]) ^ rotr(x, r[1]) ^ x >> r[2]

    def compress(state, block):
        w = words(block, bits // 8, 'big')
        for t in range(16, rounds):
            w.append((small(w[t - 2], small1) + w[t - 7] + small(w[t - 15], small0) + w[t - 16]) & mask)
        a, b, c, d, e, f, g, h = state
        for t in range(rounds):
            t1 = h + big(e, big1) + (e & f ^ ~e & g) + consts[t] + w[t]
            t2 = big(a, big0) + (a & b ^ a & c ^ b & c)
            a, b, c, d, e, f, g, h = (t1 + t2) & mask, a, b, c, (d + t1) & mask, e, f, g
        return [(s + v) & mask for s, v in zip(state, (a, b, c, d, e, f, g, h))]

    return compress


def fraction_of_roots(which, bits):
    return [isqrt(p << 2 * bits) & (1 << bits) - 1 for p in which]


SHA256 = sha2(32, 64, (2, 13, 22), (6, 11, 25), (7, 18, 3), (17, 19, 10))
SHA512 = sha2(64, 80, (28, 34, 39), (14, 18, 41), (1, 8, 7), (19, 61, 6))
# name: compression, initial state, octets of block, word, length field, digest; byte order; bits a count
KINDS = {
    'MD5': (md5, START[:4], 64, 4, 8, 16, 'little', 1),
    'SHA1': (sha1, START, 64, 4, 8, 20, 'big', 1),
    'SHA256': (SHA256, fraction_of_roots(primes(8), 32), 64, 4, 8, 32, 'big', 8),
    'SHA384': (SHA512, fraction_of_roots(primes(16)[8:], 64), 128, 8, 16, 48, 'big', 8),
    'SHA512': (SHA512, fraction_of_roots(primes(8), 64), 128, 8, 16, 64, 'big', 8),
}


def digest_from(name, start, data):
    compress, state, block, word, field, size, order, unit = KINDS[name]
    advanced = (start + len(data) * 8 // unit) % 2 ** 64
    count = (start >> 64 << 64 | advanced) * unit % (1 << 8 * field)
    padded = data + b'\x80' + bytes(-(len(data) + 1 + field) % block) + count.to_bytes(field, order)
    for i in range(0, len(padded), block):
        state = compress(state, padded[i:i + block])
    return b''.join(s.to_bytes(word, order) for s in state)[:size].hex()


def by_length(out):
    print('# n, then MD5, SHA-1, SHA-256, SHA-384 and SHA-512 of the message of n octets whose', file=out)
    print('# octet i is (31 i + n) mod 256: the first 8 octets of each, from Python\'s hashlib', file=out)
    print('# (make_digests.py).', file=out)
    for n in range(301):
        cut = [hashlib.new(name.lower(), message(n)).hexdigest()[:16] for name in NAMES]
        print(n, *cut, file=out)


def by_count(out):
    print('# name, c, n, digest: what a digest makes of the n octets (31 i + n) mod 256 when its count', file=out)
    print('# stands at c (hexadecimal) before the first. MD5 and SHA-1 count bits, the others octets.', file=out)
    print('# The count advances modulo 2^64, what is above stays; the length field is the count in bits,', file=out)
    print('# modulo its own size. From the compression functions in make_digests.py.', file=out)
    for name, (_, _, block, _, field, _, _, unit) in KINDS.items():
        step = block * 8 // unit
        starts = [2 ** p - step for p in (29, 32, 35, 61, 64)]
        if field == 16:
            starts += [2 ** 64 + step, 2 ** 128 - step, 0x0123456789abcdef << 64]
        for start in starts:
            for n in (0, 1, block - 1, block, block + 1):
                print(name, '%x' % start, n, digest_from(name, start, message(n)), file=out)


def main():
    for name in NAMES:
        for n in range(301):
            assert digest_from(name, 0, message(n)) == hashlib.new(name.lower(), message(n)).hexdigest()
    here = os.path.dirname(os.path.abspath(__file__))
    for file, make in (('digests_by_length.txt', by_length), ('digests_by_count.txt', by_count)):
        with open(os.path.join(here, file), 'w') as out:
            make(out)


main()
