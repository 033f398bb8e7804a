#!/usr/bin/env python3
"""Generate src/vmk/core/cdfnorm/cdfnorm_tables.hpp: the tables of the CdfNorm kernels.

With t = |x| and Q(t) = erfc(t / sqrt 2) / 2 the upper tail, CdfNorm(x) is Q(t) for x < 0 and
1 - Q(t) otherwise, and Q(t) = e^(-t^2/2) R(t) with R(t) = Q(t) e^(t^2/2) smooth and slowly
varying (R(0) = 1/2, R(t) ~ 1 / (t sqrt(2 pi)) for large t).

2^(j/256), j = 0..255, as hi + lo (hi the nearest double, lo the nearest double to the rest):
the table of the exponential step e^(-q) = 2^(-k/256) e^r; and the same with hi of 26
significant bits for HA, whose product T26 Rh26 is then exact.

Interval rows of R.  With u = t + 1/2, row k (0..49) serves the u in the eighth of a binade
whose top word, masked by 0x7FFE0000, is 0x3FE00000 + k * 0x20000; so the rows cover
t in [0, 39.5) (row 0 is t in [0, 1/16), row 49 is t in [35.5, 39.5)).  With c the centre of the
row in t and r = t - c:
  16-wide rows (double HA, LA):  entry 0, 1  R(c) as low + high part; in HA the high part has
                                 26 significant bits (the low part about 2^-26 of it), in LA
                                 it is R(c) rounded and the low part 0
                                 entry 2..D+1  b1..bD, R(c + r) = R(c) + r (b1 + b2 r + ...)
                                 entry 15  -c
  8-wide rows (EP and single):   entry 0  -c, entry 1  R(c), entry 2..D+1  b1..bD
The b are the least-squares fit relative to R over 4D Chebyshev points of the row (close to
minimax), in 50-digit arithmetic; the script prints the largest relative error of each rounded
table over 240 points per row (the fit is checked on the row widened by 2^-40 on each side,
since the row index is taken from the rounded t + 1/2).

The exponential step works on w = x^2 (k = round((w/2) 256/ln 2), r = (k ln 2/128 - w)/2), so
its constants are (256/ln 2)/2 rounded and ln 2/128 as hi + lo with hi of 34 significant bits,
so that k * hi is exact for the k < 2^19 of the kernels (|x| < 39.5).

It also prints the underflow cut of the double and single kernels: the least x (largest |x|)
with CdfNorm(x) at or above the least normal of the type.

Run: python3 tools/tables/gen_cdfnorm_tables.py > src/vmk/core/cdfnorm/cdfnorm_tables.hpp
"""
import sys
import mpmath as mp

mp.mp.dps = 50
NROWS = 50

# name, degree, row width, two-part R(c), use
LEVELS = [
    ("kRowsHA", 11, 16, True, "double HA"),
    ("kRowsLA", 10, 16, False, "double LA"),
    ("kRowsEP", 5, 8, False, "double EP and single HA"),
    ("kRowsSLA", 4, 8, False, "single LA"),
    ("kRowsSEP", 2, 8, False, "single EP"),
]
if len(sys.argv) > 1:  # degree overrides for experiments: name=deg
    for a in sys.argv[1:]:
        n, d = a.split("=")
        LEVELS = [(x[0], int(d) if x[0] == n else x[1]) + x[2:] for x in LEVELS]

SQRT2 = mp.sqrt(2)
_cache = {}


def R(t):
    t = mp.mpf(t)
    v = _cache.get(t)
    if v is None:
        v = mp.erfc(t / SQRT2) / 2 * mp.exp(t * t / 2)
        _cache[t] = v
    return v


def row_bounds(k):
    top = 0x3FE00000 + k * 0x20000
    e = (top >> 20) - 1023
    m = (top >> 17) & 7
    ulo = mp.ldexp(1 + mp.mpf(m) / 8, e)
    uhi = ulo + mp.ldexp(mp.mpf(1) / 8, e)
    return ulo - mp.mpf(1) / 2, uhi - mp.mpf(1) / 2


def fit_row(k, deg, two_part):
    lo, hi = row_bounds(k)
    c = mp.mpf(float((lo + hi) / 2))  # a double, so -c is exact in the table
    rc = R(c)
    a, b = lo - c, hi - c
    n = 4 * deg
    pts = [(a + b) / 2 + (b - a) / 2 * mp.cos(mp.pi * (2 * i + 1) / (2 * n)) for i in range(n)]
    w = [1 / R(c + p) for p in pts]
    A = mp.matrix([[p ** (j + 1) * wi for j in range(deg)] for p, wi in zip(pts, w)])
    y = mp.matrix([(R(c + p) - rc) * wi for p, wi in zip(pts, w)])
    coef = [float(v) for v in mp.qr_solve(A, y)[0]]
    rh = float(rc)
    if two_part:  # R(c) = rh + rl with rh of 26 significant bits, so T26 rh is exact
        rh = round26(rc)
        rl = float(rc - rh)
    else:
        rl = 0.0
    err = 0
    wid = (hi - lo) * mp.mpf(2) ** -40
    for i in range(241):
        t = lo - wid + (hi - lo + 2 * wid) * i / 240
        r = t - c
        p = mp.mpf(0)
        for v in reversed(coef):
            p = p * r + v
        err = max(err, abs((mp.mpf(rh) + rl + r * p) / R(t) - 1))
    return c, rh, rl, coef, err


def round26(v):
    """v rounded to 26 significant bits (a double whose products with another such are exact)."""
    e = int(mp.floor(mp.log(abs(v), 2)))
    return float(mp.nint(v * mp.mpf(2) ** (25 - e)) / mp.mpf(2) ** (25 - e))


def exp2_table(hi_of):
    out = []
    for j in range(256):
        v = mp.mpf(2) ** (mp.mpf(j) / 256)
        hi = hi_of(v)
        out += [hi, float(v - hi)]
    return out


def cdf(x):
    return mp.erfc(-mp.mpf(x) / SQRT2) / 2


def underflow_cut(least, step):
    """The least double x with cdf(x) >= least: bisection on doubles."""
    lo, hi = -40.0, -5.0  # cdf(lo) < least <= cdf(hi)
    import struct

    def key(d):
        return struct.unpack("<q", struct.pack("<d", d))[0]

    def dbl(k):
        return struct.unpack("<d", struct.pack("<q", k))[0]

    klo, khi = key(lo), key(hi)  # negative doubles: larger key = more negative
    while klo - khi > 1:
        mid = (klo + khi) // 2
        if cdf(dbl(mid)) >= least:
            khi = mid
        else:
            klo = mid
    return dbl(khi)


def main():
    tables = []
    for name, deg, width, two_part, what in LEVELS:
        rows, worst = [], 0
        for k in range(NROWS):
            c, rh, rl, coef, err = fit_row(k, deg, two_part)
            worst = max(worst, err)
            if width == 16:
                row = [rl, rh] + coef + [0.0] * (13 - deg) + [float(-c)]
            else:
                row = [float(-c), rh] + coef + [0.0] * (6 - deg)
            assert len(row) == width
            rows.append(row)
        print(f"{name} ({what}) degree {deg}: worst rel err 2^{float(mp.log(worst, 2)):.1f}",
              file=sys.stderr)
        tables.append((name, deg, width, what, worst, rows))
    cut_d = underflow_cut(mp.ldexp(1, -1022), 1)
    cut_s = underflow_cut(mp.ldexp(1, -126), 1)
    print(f"underflow cut: double {cut_d!r} ({cut_d.hex()}), single {cut_s!r} ({cut_s.hex()})",
          file=sys.stderr)
    out = ["// Generated by: python3 tools/tables/gen_cdfnorm_tables.py > src/vmk/core/cdfnorm/cdfnorm_tables.hpp",
           "// The 2^(j/256) table and the interval rows of R(t) = Q(t) e^(t^2/2) of the CdfNorm",
           "// kernels (layout and fit in the generator's docstring). Do not edit.", "#pragma once", "",
           "namespace hpk::vmk::cdfnorm_tables {", "",
           "// 2^(j/256): hi, lo",
           "alignas(64) inline constexpr double kExp2[512] = {"]
    e = exp2_table(float)
    for j in range(256):
        out.append(f"    {e[2 * j].hex()}, {e[2 * j + 1].hex()},")
    out += ["};", "", "// 2^(j/256) for HA: hi of 26 significant bits, lo the nearest double to the rest",
            "alignas(64) inline constexpr double kExp2Split[512] = {"]
    e = exp2_table(round26)
    for j in range(256):
        out.append(f"    {e[2 * j].hex()}, {e[2 * j + 1].hex()},")
    out += ["};", ""]
    ln = mp.log(2) / 128
    hi = float(mp.floor(ln * mp.mpf(2) ** 41 + mp.mpf(1) / 2) / mp.mpf(2) ** 41)  # 34 bits
    assert int(hi * 2 ** 41) == hi * 2 ** 41 and 2 ** 33 <= hi * 2 ** 41 < 2 ** 34
    out.append("// The exponential step on w = x^2: (256/ln 2)/2 = 184.66..., and ln 2/128 = kLn2By128Hi +")
    out.append("// kLn2By128Lo with hi of 34 bits.")
    out.append(f"inline constexpr double kInvLn256 = {float(128 / mp.log(2)).hex()};")
    out.append(f"inline constexpr double kLn2By128Hi = {hi.hex()};")
    out.append(f"inline constexpr double kLn2By128Lo = {float(ln - hi).hex()};")
    out.append("// e^r - 1 = r + r^2 (kE2 + r (kE3 + r (kE4 + r kE5))): Taylor coefficients rounded; on")
    out.append("// |r| <= ln 2/512 the truncation after degree 5 is below 2^-66, after 4 2^-54.5, after 2 2^-31.")
    for d in (3, 4, 5):
        out.append(f"inline constexpr double kE{d} = {float(1 / mp.factorial(d)).hex()};")
    out.append("")
    out.append(f"// Least x whose result is at or above the least normal: double {cut_d!r},")
    out.append(f"// single {cut_s!r}.")
    out.append(f"inline constexpr double kUnderflowCutD = {cut_d.hex()};")
    out.append(f"inline constexpr double kUnderflowCutS = {cut_s.hex()};")
    out.append("")
    for name, deg, width, what, worst, rows in tables:
        out.append(f"// {what}: degree {deg}, largest relative error of the rounded fit "
                   f"2^{float(mp.log(worst, 2)):.1f}")
        out.append(f"inline constexpr int {name}Degree = {deg};")
        out.append(f"alignas(64) inline constexpr double {name}[{NROWS}][{width}] = {{")
        for k, row in enumerate(rows):
            out.append(f"    /* {k:2d} */ {{{', '.join(v.hex() for v in row)}}},")
        out += ["};", ""]
    out += ["}  // namespace hpk::vmk::cdfnorm_tables", ""]
    print("\n".join(out))


main()
