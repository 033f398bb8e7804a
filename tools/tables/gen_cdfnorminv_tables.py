#!/usr/bin/env python3
"""Generate src/vmk/core/cdfnorminv/cdfnorminv_tables.hpp: the table _vmkdCdfNormInvHATab of the
CdfNormInv and ErfcInv kernels (both types).

centre_hi[k], centre_lo[k]  (k = 0..15)
    The Maclaurin series erfinv(z) = sum a_k z^(2k+1) in high and low parts,
        a_k = d_k / (2k + 1) (sqrt(pi)/2)^(2k+1),
        d_0 = 1,  d_k = sum_{m<k} d_m d_(k-1-m) / ((m + 1)(2m + 1))   (exact rationals).
    So a_0 = sqrt(pi)/2 = 0.886226925452758..., a_1 = (sqrt(pi)/2)^3 / 3 = 0.2320136665346545...
    The kernels use eleven terms, below 2^-64 relative for |z| <= 1/8 (the script prints the
    bound); the table keeps sixteen.
sqrt2[2]
    sqrt(2) as high and low parts.
cdf_centre_hi[11], cdf_centre_lo[11]
    The same series for CdfNormInv(1/2 + d) = sqrt2 erfinv(2d) = sum k_j d^(2j+1),
    k_j = sqrt2 2^(2j+1) a_j (k_0 = sqrt(2 pi)), for |d| <= 1/16.
mid[92][12]
    erfcinv(y) on y in [1/64, 7/8), one row per sixteenth of a binade: row k serves the y whose top
    word, masked by 0x7FFF0000, is 0x3F900000 + k * 0x10000.  With c the row's centre and
    r = y - c (exact: y and c share a binade):
        entry 0, 1   erfcinv(c) as low + high parts
        entry 2..10  b1..b9,  erfcinv(c + r) = erfcinv(c) + r (b1 + b2 r + ... + b9 r^8)
        entry 11     -c
cdf_mid[92][12]
    The same rows for -CdfNormInv(q) = sqrt2 erfcinv(2q) on q in [1/128, 7/16): row k serves
    the q whose top word, masked by 0x7FFF0000, is 0x3F800000 + k * 0x10000.
rows[32][16]
    F(w) = erfcinv(exp(-w^2)) on w in [2, 32) (y below 1/64), one row per eighth of a binade:
    row k serves the w whose top word, masked by 0x7FFE0000, is 0x40000000 + k * 0x20000.
    With c the row's centre and r = w - c:
        entry 0, 1   F(c) as low + high parts
        entry 2..11  b1..b10,  F(c + r) = F(c) + r (b1 + b2 r + ... + b10 r^9)
        entry 12     -c;  13..15 zero.
Both kinds of rows are least-squares fits relative to the function over 3-4 times their degree
in Chebyshev points of the row (close to minimax), in 80-digit arithmetic; the script prints
the largest relative error of each rounded row over 300 points.
Run: python3 tools/tables/gen_cdfnorminv_tables.py > src/vmk/core/cdfnorminv/cdfnorminv_tables.hpp
"""
import sys
from fractions import Fraction
import mpmath as mp

mp.mp.dps = 80
DEG = 10
MID_DEG = 9
TERMS = 16
USED_TERMS = 11
ROWS = 32
MID_ROWS = 92


PUBLISHED_HEAD = (0.886226925452758, 0.2320136665346545, 0.12755617530559818)


def series():
    d = [Fraction(1)]
    for k in range(1, TERMS + 1):
        d.append(sum(d[m] * d[k - 1 - m] / ((m + 1) * (2 * m + 1)) for m in range(k)))
    s = mp.sqrt(mp.pi) / 2
    return [mp.mpf(d[k].numerator) / d[k].denominator / (2 * k + 1) * s ** (2 * k + 1)
            for k in range(TERMS + 1)]


def F(w):
    if w < 2:
        return mp.erfinv(-mp.expm1(-w * w))
    y = mp.exp(-w * w)
    x = w - mp.log(w * mp.sqrt(mp.pi)) / (2 * w)
    for _ in range(200):
        dx = (mp.erfc(x) - y) / (-2 / mp.sqrt(mp.pi) * mp.exp(-x * x))
        x -= dx
        if abs(dx) < x * mp.mpf(10) ** -55:
            break
    return x


def fit(f, lo, hi, deg):
    """Row of f on [lo, hi): (f(c), [b1..b_deg], c, worst relative error as rounded)."""
    c = (lo + hi) / 2
    fc = f(c)
    h = (hi - lo) / 2
    n = 4 * deg
    pts = [h * mp.cos(mp.pi * (2 * i + 1) / (2 * n)) for i in range(n)]
    vals = [f(c + p) for p in pts]
    A = mp.matrix([[(p / h) ** (j + 1) / v for j in range(deg)] for p, v in zip(pts, vals)])
    y = mp.matrix([(v - fc) / v for v in vals])
    coef = [float(v / h ** (j + 1)) for j, v in enumerate(mp.qr_solve(A, y)[0])]
    fh, fl = split(fc)
    err = 0
    for i in range(300):  # the row's upper end belongs to the next row
        x = lo + (hi - lo) * i / 300
        r = x - c
        p = mp.mpf(0)
        for v in reversed(coef):
            p = p * r + v
        err = max(err, abs((mp.mpf(fh) + fl + r * p) / f(x) - 1))
    return fh, fl, coef, c, err


def split(v):
    h = float(v)
    return h, float(v - h)


def hexf(v):
    return float(v).hex() if v != 0 else "0x0.0p+0"


def main():
    a = series()
    # truncation after TERMS terms at |z| = 1/4, relative to the leading term
    trunc = a[USED_TERMS] * mp.mpf(1 / 8) ** (2 * USED_TERMS) / a[0]
    print(f"centre: first omitted term at |z| = 1/8: 2^{float(mp.log(trunc, 2)):.1f}", file=sys.stderr)
    chi, clo = zip(*[split(v) for v in a[:TERMS]])
    # The table's published leading entries: the first two are the rounded coefficients, the
    # third lies 8 units above its rounded coefficient; its low part carries the difference,
    # so every hi + lo pair still sums to its coefficient within 2^-106.
    chi, clo = list(chi), list(clo)
    for k, published in enumerate(PUBLISHED_HEAD):
        chi[k] = published
        clo[k] = float(a[k] - mp.mpf(published))
    s2 = split(mp.sqrt(2))
    kc = [mp.sqrt(2) * mp.mpf(2) ** (2 * j + 1) * a[j] for j in range(USED_TERMS)]
    khi, klo = zip(*[split(v) for v in kc])

    mid = []
    worst = 0
    for k in range(MID_ROWS):
        top = 0x3F900000 + k * 0x10000
        e = (top >> 20) - 1023
        m = (top >> 16) & 15
        lo = mp.ldexp(1 + mp.mpf(m) / 16, e)
        hi = lo + mp.ldexp(mp.mpf(1) / 16, e)
        fh, fl, coef, c, err = fit(lambda y: mp.erfinv(1 - y), lo, hi, MID_DEG)
        worst = max(worst, err)
        print(f"mid {k}: [{float(lo)}, {float(hi)}) rel err 2^{float(mp.log(err, 2)):.1f}", file=sys.stderr)
        mid.append([fl, fh] + coef + [float(-c)])
    cdf_mid = []
    for k in range(MID_ROWS):
        top = 0x3F800000 + k * 0x10000
        e = (top >> 20) - 1023
        m = (top >> 16) & 15
        lo = mp.ldexp(1 + mp.mpf(m) / 16, e)
        hi = lo + mp.ldexp(mp.mpf(1) / 16, e)
        fh, fl, coef, c, err = fit(lambda q: mp.sqrt(2) * mp.erfinv(1 - 2 * q), lo, hi, MID_DEG)
        worst = max(worst, err)
        print(f"cdf_mid {k}: [{float(lo)}, {float(hi)}) rel err 2^{float(mp.log(err, 2)):.1f}", file=sys.stderr)
        cdf_mid.append([fl, fh] + coef + [float(-c)])
    rows = []
    for k in range(ROWS):
        top = 0x40000000 + k * 0x20000
        e = (top >> 20) - 1023
        m = (top >> 17) & 7
        lo = mp.ldexp(1 + mp.mpf(m) / 8, e)
        hi = lo + mp.ldexp(mp.mpf(1) / 8, e)
        fh, fl, coef, c, err = fit(F, lo, hi, DEG)
        worst = max(worst, err)
        print(f"row {k}: [{float(lo)}, {float(hi)}) rel err 2^{float(mp.log(err, 2)):.1f}", file=sys.stderr)
        rows.append([fl, fh] + coef + [float(-c), 0.0, 0.0, 0.0])
    print(f"worst 2^{float(mp.log(worst, 2)):.1f}", file=sys.stderr)

    def line(vals):
        return ", ".join(hexf(v) for v in vals)

    out = ["// Generated by: python3 tools/tables/gen_cdfnorminv_tables.py > src/vmk/core/cdfnorminv/cdfnorminv_tables.hpp",
           "// The inverse normal distribution's table (layout in the generator's docstring).",
           "#pragma once", "", "namespace hpk::vmk::cdfnorminv_tables {", "",
           "struct CdfNormInvTable {",
           f"  double centre_hi[{TERMS}];  // erfinv(z) = sum a_k z^(2k+1): high parts",
           f"  double centre_lo[{TERMS}];  // and low parts",
           "  double sqrt2[2];  // high, low",
           f"  double cdf_centre_hi[{USED_TERMS}];  // CdfNormInv(1/2 + d) = sum k_j d^(2j+1): high parts",
           f"  double cdf_centre_lo[{USED_TERMS}];  // and low parts",
           f"  double mid[{MID_ROWS}][12];  // erfcinv(y), 1/64 <= y < 7/8, by sixteenths of a binade",
           f"  double cdf_mid[{MID_ROWS}][12];  // -CdfNormInv(q), 1/128 <= q < 7/16, the same way",
           f"  double rows[{ROWS}][16];  // F(w) = erfcinv(exp(-w^2)), w >= 2, by eighths of a binade",
           "};", "",
           "alignas(64) inline constexpr CdfNormInvTable _vmkdCdfNormInvHATab = {",
           f"    {{{line(chi)}}},",
           f"    {{{line(clo)}}},",
           f"    {{{line(s2)}}},",
           f"    {{{line(khi)}}},",
           f"    {{{line(klo)}}},",
           "    {"]
    for k, r in enumerate(mid):
        out.append(f"        /* {k:2d} */ {{{line(r)}}},")
    out += ["    },", "    {"]
    for k, r in enumerate(cdf_mid):
        out.append(f"        /* {k:2d} */ {{{line(r)}}},")
    out += ["    },", "    {"]
    for k, r in enumerate(rows):
        out.append(f"        /* {k:2d} */ {{{line(r)}}},")
    out += ["    }};", "", "}  // namespace hpk::vmk::cdfnorminv_tables", ""]
    print("\n".join(out))


if __name__ == "__main__":
    main()
