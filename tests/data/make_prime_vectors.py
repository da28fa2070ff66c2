#!/usr/bin/env python3
"""Writes the vectors of the primality tests with Python's integers alone:

primes.txt          numbers and what they are
lucas.txt           the odd composites below a limit that the Lucas test lets pass, and
                    primes that it has no Q for
jacobi.txt          Jacobi symbols

The Lucas sequence is computed here from its recurrence in matrix form, the Jacobi symbol from
Euler's criterion for each prime factor; the library goes other ways.
"""
import math
import os
import random

HERE = os.path.dirname(os.path.abspath(__file__))
SOURCE = random.Random(4103)
LUCAS_LIMIT = 300000


def sieve(limit):
    prime = bytearray([1]) * limit
    prime[0:2] = b"\0\0"
    for i in range(2, math.isqrt(limit) + 1):
        if prime[i]:
            prime[i * i::i] = bytes(len(range(i * i, limit, i)))
    return [i for i in range(limit) if prime[i]]


SMALL = sieve(LUCAS_LIMIT)


def is_prime(n):
    """Miller-Rabin to forty random bases, after trial division."""
    if n < SMALL[-1] ** 2 and any(n % p == 0 for p in SMALL if p * p <= n):
        return False
    if n < SMALL[-1] ** 2:
        return n > 1
    d, s = n - 1, 0
    while d % 2 == 0:
        d, s = d // 2, s + 1
    for _ in range(40):
        x = pow(SOURCE.randrange(2, n - 1), d, n)
        if x in (1, n - 1):
            continue
        for _ in range(s - 1):
            x = x * x % n
            if x == n - 1:
                break
        else:
            return False
    return True


def random_prime(bits):
    while True:
        n = SOURCE.getrandbits(bits) | 1 << bits - 1 | 1
        if is_prime(n):
            return n


def strong_probable_prime(n, base):
    d, s = n - 1, 0
    while d % 2 == 0:
        d, s = d // 2, s + 1
    x = pow(base, d, n)
    return x in (1, n - 1) or any(pow(base, d << i, n) == n - 1 for i in range(1, s))


def legendre(a, p):
    r = pow(a, (p - 1) // 2, p)
    return -1 if r == p - 1 else r


def factors(n):
    for p in SMALL:
        while n % p == 0:
            yield p
            n //= p
        if p * p > n:
            break
    if n > 1:
        yield n


def jacobi(a, primes):
    return math.prod(legendre(a, p) for p in primes)


def lucas_u(k, q, n):
    """U(k) mod n for P = 1: the upper right element of the k-th power of [[1, -q], [1, 0]], lower left."""
    def times(a, b):
        return ((a[0] * b[0] + a[1] * b[2]) % n, (a[0] * b[1] + a[1] * b[3]) % n,
                (a[2] * b[0] + a[3] * b[2]) % n, (a[2] * b[1] + a[3] * b[3]) % n)
    power, square = (1, 0, 0, 1), (1, -q, 1, 0)
    while k:
        if k & 1:
            power = times(power, square)
        square = times(square, square)
        k >>= 1
    return power[2]


def lucas_passes(n, primes):
    for i in range(1, 30):
        q = -i if i % 2 else i
        if jacobi(1 - 4 * q, primes) == -1:
            return lucas_u(n + 1, q, n) == 0
    return None


def write_primes(f):
    f.write("# What N is, from Python's integers (make_prime_vectors.py): prime; composite with a factor of 2 to 3607 (small);\n"
            "# composite without one (large); 2-strong: passes a strong test to the base 2;\n"
            "# lucas: passes the Lucas test of lucas.txt\n")

    def row(n, kind):
        f.write("\nN = %x\nKind = %s\n" % (n, kind))

    def composite(*fs):
        n = math.prod(fs)
        assert len(fs) > 1
        kind = "small" if min(fs) <= 3607 else "large"
        kind += " 2-strong" if n % 2 and strong_probable_prime(n, 2) else ""
        row(n, kind + (" lucas" if n % 2 and lucas_passes(n, fs) else ""))

    for exponent in (31, 61, 89, 107, 127, 521, 607, 1279):
        assert is_prime(2 ** exponent - 1)
        row(2 ** exponent - 1, "prime")
    for bits in (32, 33, 40, 63, 64, 65, 96, 100, 128, 160, 192, 224, 256, 384, 512, 521, 768, 1024, 2048):
        row(random_prime(bits), "prime")
    for p in (2 ** 32 - 5, 2 ** 64 - 59, 2 ** 128 - 159, 2 ** 256 - 189, 2 ** 255 - 19):
        assert is_prime(p)
        row(p, "prime")
    # strong pseudoprimes to the base 2, the last one to all prime bases up to 31
    composite(23, 89)
    composite(151, 751, 28351)
    composite(149491, 747451, 34233211)
    composite(3825123056546413051 // 149491 // 747451, 149491, 747451)
    composite(399165290221, 798330580441)
    # Carmichael numbers: of three factors 6k + 1, 12k + 1, 18k + 1
    for p in ((3, 11, 17), (7, 13, 19), (5, 17, 29), (7, 11, 13, 41)):
        composite(*p)
    found = 0
    k = 700
    while found < 6:
        k += 1
        three = (6 * k + 1, 12 * k + 1, 18 * k + 1)
        if all(map(is_prime, three)):
            found += 1
            k = k * 9
            composite(*three)
    composite(3607, 65537)
    composite(65537, 65539)
    composite(3607, 3613, 3617)
    composite(3613, 3617, 3623)
    composite(3613, 3613, 3613)
    composite(2, random_prime(200))
    composite(2 ** 61 - 1, 2 ** 61 - 1)
    for bits in (40, 128, 256, 512):
        composite(random_prime(bits), random_prime(bits))
        p = random_prime(bits)
        if is_prime(2 * p - 1):
            composite(p, 2 * p - 1)
        composite(p, p)
    # products p(2p - 1): the ones that pass a strong test to the base 2 most often
    found = 0
    while found < 8:
        p = random_prime(64)
        if is_prime(2 * p - 1):
            n = p * (2 * p - 1)
            if strong_probable_prime(n, 2):
                found += 1
                composite(p, 2 * p - 1)


def write_lucas(f):
    primes = set(SMALL)
    f.write("# Lucas test with P = 1 and the first Q of -1, 2, -3, ... -29 with Jacobi symbol (1 - 4Q / N) = -1.\n"
            "# Pass: all odd composites N below Limit with U(N + 1) = 0 mod N. NoQ: primes for which all symbols are 1.\n"
            "# LateQ: primes for which the 27th is the first that is not.\n"
            "# From Python's integers (make_prime_vectors.py)\n")
    passing = []
    for n in range(3, LUCAS_LIMIT, 2):
        verdict = lucas_passes(n, [n] if n in primes else list(factors(n)))
        assert n not in primes or verdict
        if n not in primes and verdict:
            passing.append(n)
    # A prime that is 1 modulo 4 and modulo every prime factor of every D has only squares among them.
    # The last D that is no product of earlier ones is 109, the next one after the 29 is -127.
    step = 4 * math.prod({p for q in range(1, 30) for d in (1 + 4 * q, 4 * q - 1) for p in factors(d)})
    without = [n for n in (step * k + 1 for k in range(1, 5000)) if legendre(n, 127) == -1 and is_prime(n)][:3]
    assert all(lucas_passes(n, [n]) is None for n in without)
    late = [n for n in (step // 109 * k + 1 for k in range(1, 5000)) if legendre(n, 109) == -1 and is_prime(n)][:3]
    assert all(lucas_passes(n, [n]) for n in late)
    f.write("\nLimit = %d\nPass = %s\nNoQ = %s\nLateQ = %s\n" %
            (LUCAS_LIMIT, " ".join(map(str, passing)), " ".join("%x" % n for n in without),
             " ".join("%x" % n for n in late)))


def write_jacobi(f):
    f.write("# Symbol = (A/N), from Euler's criterion for each prime factor of N with Python's pow (make_prime_vectors.py)\n")

    def row(a, primes):
        f.write("\nA = %s%x\nN = %x\nSymbol = %d\n" %
                ("-" if a < 0 else "", abs(a), math.prod(primes), jacobi(a, primes)))

    for bits in (8, 31, 32, 33, 64, 100, 256, 512):
        for count in (1, 2, 3):
            for _ in range(6):
                primes = [random_prime(bits) for _ in range(count)]
                a = SOURCE.getrandbits(SOURCE.randrange(1, 2 * count * bits))
                row(SOURCE.choice((a, -a, a << SOURCE.randrange(0, 70))), primes)
    shared = random_prime(64)
    row(shared * random_prime(40), [shared, random_prime(64)])
    row(0, [shared])
    row(shared, [shared])
    row(2 ** 96, [shared])
    row(2 ** 97, [2 ** 61 - 1])
    row(2 ** 65, [random_prime(512)])
    row(-1, [2 ** 61 - 1])


for name, writer in (("primes.txt", write_primes), ("lucas.txt", write_lucas), ("jacobi.txt", write_jacobi)):
    with open(os.path.join(HERE, name), "w") as out:
        writer(out)
