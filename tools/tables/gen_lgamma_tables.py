#!/usr/bin/env python3
"""Generate src/vmk/core/lgamma/lgamma_tables.hpp: the tables of the LGamma kernels.

kRows[133][16], the interval rows of the packed route for 0.25 <= x < 64 and, on the function
F(x) = lgamma(1 + x) = lgamma(x) + log x, for 0 < x < 0.25:
  rows 0..127   the sixteenth of a binade whose top word, masked by 0x7FFF0000, is
                0x3FD00000 + k * 0x10000 (x in [0.25, 64)); F = lgamma
  rows 128..132 x < 1/16, [1/16, 3/32), [3/32, 1/8), [1/8, 3/16), [3/16, 1/4); F = lgamma(1 + x)
With c the expansion point of the row and r = x - c (exact in every row), a row holds
    entry 0, 1   F(c) as low + high parts
    entry 2, 3   a1 as high + low parts
    entry 4..11  a2..a9, with F(c + r) = F(c) + r (a1 + a2 r + ... + a9 r^8)
    entry 12..14 zero;  entry 15  -c
c is the centre of the row's interval, except in the rows next to the zeros of lgamma at 1 and
2 ([0.96875, 1) and [1, 1.0625) expand at 1; [1.9375, 2) and [2, 2.125) at 2) and in row 128
(at 0): there F(c) = 0 and the route keeps the relative error of r a1 (the leading term).
a1..a9 are the least-squares fit of r (a1 + ...) to F(c + r) - F(c) relative to lgamma(x) over
54 Chebyshev points of the row (close to minimax), in 60-digit arithmetic.

kStirling[5]: for x >= 64,
    lgamma(x) = (x - 1/2) log x - x + log(2 pi)/2 + (1/x) S(1/x^2),  S(z) = s0 + s1 z + ... + s4 z^4,
the least-squares fit of S relative to lgamma over z in (0, 1/4096] (the asymptotic series
1/12 - z/360 + ... adjusted for the truncation).

kBernoulliL[12]: B_2k / (2k (2k - 1)), k = 1..12, as 64-bit significands for the extended
Stirling series of the scalar routines, and kHalfLog2PiL = log(2 pi)/2 the same way.

The script prints the largest error of each rounded row relative to lgamma(x) over 400 points.
Run: python3 tools/tables/gen_lgamma_tables.py > src/vmk/core/lgamma/lgamma_tables.hpp
"""
import sys
import mpmath as mp

mp.mp.dps = 60
DEG = 9  # a1..a9; the worst row (at a zero) is no better with 12, its error is the rounding of
          # the coefficients
NROWS = 133
NMID = 128
ZERO_ROWS = {31: 1, 32: 1, 47: 2, 48: 2}


def row_interval(k):
    if k < NMID:
        top = 0x3FD00000 + k * 0x10000
        e = (top >> 20) - 1023
        m = (top >> 16) & 15
        lo = mp.ldexp(1 + mp.mpf(m) / 16, e)
        hi = lo + mp.ldexp(mp.mpf(1) / 16, e)
        return lo, hi
    edges = [mp.mpf(0), mp.mpf(1) / 16, mp.mpf(3) / 32, mp.mpf(1) / 8, mp.mpf(3) / 16,
             mp.mpf(1) / 4]
    j = k - NMID
    return edges[j], edges[j + 1]


def F(k, x):
    return mp.loggamma(x) if k < NMID else mp.loggamma(1 + x)


def lgamma_of_row_input(k, x):
    return mp.loggamma(x)


def expansion_point(k, lo, hi):
    if k in ZERO_ROWS:
        return mp.mpf(ZERO_ROWS[k])
    if k == NMID:
        return mp.mpf(0)
    return (lo + hi) / 2


def fit(k, lo, hi, c):
    a, b = lo - c, hi - c
    fc = F(k, c)
    m = 6 * DEG
    pts = [(a + b) / 2 + (b - a) / 2 * mp.cos(mp.pi * (2 * i + 1) / (2 * m)) for i in range(m)]
    w = [1 / abs(mp.loggamma(c + n)) for n in pts]
    A = mp.matrix([[n ** (j + 1) * wi for j in range(DEG)] for n, wi in zip(pts, w)])
    y = mp.matrix([(F(k, c + n) - fc) * wi for n, wi in zip(pts, w)])
    return list(mp.qr_solve(A, y)[0])


def d(x):
    return float(x)


def hexf(x):
    return float(x).hex()


def hexl(x):
    """x rounded to a 64-bit significand, as a long double hex literal."""
    x = mp.mpf(x)
    if x == 0:
        return "0x0p+0L"
    s = "-" if x < 0 else ""
    x = abs(x)
    e = int(mp.floor(mp.log(x, 2)))
    m = int(mp.nint(mp.ldexp(x, 63 - e)))
    if m >= 1 << 64:
        m >>= 1
        e += 1
    return f"{s}0x{m:016x}p{e - 63:+d}L"


def rows():
    out = []
    worst = 0
    for k in range(NROWS):
        lo, hi = row_interval(k)
        c = expansion_point(k, lo, hi)
        coef = fit(k, lo, hi, c)
        fc = F(k, c)
        fh = mp.mpf(d(fc))
        fl = mp.mpf(d(fc - fh))
        a1h = mp.mpf(d(coef[0]))
        a1l = mp.mpf(d(coef[0] - a1h))
        cd = [mp.mpf(d(v)) for v in coef[1:]]
        err = 0
        for i in range(401):
            x = lo + (hi - lo) * (i + mp.mpf(1) / 3) / 401
            r = x - c
            p = mp.mpf(0)
            for v in reversed(cd):
                p = p * r + v
            approx = fh + fl + r * (a1h + a1l + r * p)
            exact = F(k, x)
            err = max(err, abs((approx - exact) / mp.loggamma(x)))
        worst = max(worst, err)
        print(f"row {k}: [{float(lo)}, {float(hi)}) c {float(c)} rel err 2^{float(mp.log(err, 2)):.1f}",
              file=sys.stderr)
        out.append([d(fl), d(fh), d(a1h), d(a1l)] + [d(v) for v in cd] + [0.0] * (12 - DEG) + [d(-c)])
    print(f"rows: worst relative fit error 2^{float(mp.log(worst, 2)):.1f}", file=sys.stderr)
    return out


def stirling():
    K = 5
    C = mp.log(2 * mp.pi) / 2

    def S(z):
        x = 1 / mp.sqrt(z)
        return x * (mp.loggamma(x) - ((x - mp.mpf(1) / 2) * mp.log(x) - x + C))

    zmax = mp.mpf(1) / 4096
    m = 6 * K
    pts = [zmax / 2 + zmax / 2 * mp.cos(mp.pi * (2 * i + 1) / (2 * m)) for i in range(m)]
    w = [1 / (mp.sqrt(z) * mp.loggamma(1 / mp.sqrt(z))) for z in pts]  # (1/x) S relative to lgamma
    A = mp.matrix([[z ** j * wi for j in range(K)] for z, wi in zip(pts, w)])
    y = mp.matrix([S(z) * wi for z, wi in zip(pts, w)])
    coef = [mp.mpf(d(v)) for v in mp.qr_solve(A, y)[0]]
    err = 0
    for i in range(400):
        z = zmax * (i + mp.mpf(1) / 3) / 400
        p = mp.mpf(0)
        for v in reversed(coef):
            p = p * z + v
        err = max(err, abs((p - S(z)) * mp.sqrt(z) / mp.loggamma(1 / mp.sqrt(z))))
    print(f"Stirling: worst error relative to lgamma 2^{float(mp.log(err, 2)):.1f}", file=sys.stderr)
    return coef


def main():
    rs = rows()
    st = stirling()
    bern = [mp.bernoulli(2 * k) / (2 * k * (2 * k - 1)) for k in range(1, 13)]
    out = ["// Generated by: python3 tools/tables/gen_lgamma_tables.py > src/vmk/core/lgamma/lgamma_tables.hpp",
           "// Interval rows and series of the LGamma kernels (layout in the generator's docstring).",
           "#pragma once", "", "namespace hpk::vmk::lgamma_tables {", "",
           f"alignas(64) inline constexpr double kRows[{NROWS}][16] = {{"]
    for k, row in enumerate(rs):
        assert len(row) == 16
        out.append(f"    /* {k:2d} */ {{{', '.join(hexf(v) for v in row)}}},")
    out += ["};", "", f"inline constexpr double kStirling[{len(st)}] = {{"]
    out += [f"    {hexf(v)}," for v in st]
    out += ["};", "", "inline constexpr long double kBernoulliL[12] = {"]
    out += [f"    {hexl(v)},  // {mp.nstr(v, 12)}" for v in bern]
    out += ["};", "", f"inline constexpr long double kHalfLog2PiL = {hexl(mp.log(2 * mp.pi) / 2)};", "", "}  // namespace hpk::vmk::lgamma_tables", ""]
    print("\n".join(out))


main()
