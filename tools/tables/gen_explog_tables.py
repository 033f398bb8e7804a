#!/usr/bin/env python3
"""Tables and polynomials of the exponential and logarithm kernels.

    python3 tools/tables/gen_explog_tables.py src/vmk/core

writes src/vmk/core/exp/exp_tables.hpp, src/vmk/core/ln/ln_tables.hpp and
src/vmk/core/log1p/log1p_tables.cpp. Values are computed with mpmath at 256 bits and rounded
to double exactly through Fractions (float() of a Fraction rounds correctly).

  s_dwExp2[j]          2^(j/64) as hi (correctly rounded) and lo (the rounded remainder), j < 64
  s_dwExp2_128[j]      2^(j/128) the same way, j < 128 (Expm1)
  exp2f_table[j]       2^(j/128) as two floats, hi correctly rounded and lo the rounded
                       remainder (hi + lo is exact in double and within 2^-48 relative), j < 128
  BT_Tbl (Ln, Log10)   513 rows of four doubles for Y = 1 + f in [1, 2), row i centred on
                       c = 1 + i/512:
                         rcp    1/c rounded to 32 significant bits (row 0: 1, row 512: 1/2), so
                                that Yhi * rcp (Yhi has 21 bits) and Yhi * rcp - 1 are exact;
                         spare  0;
                         T      -log(rcp) for rows 0..255 and -log(rcp) - log 2 for rows
                                256..512 (the exponent is counted from 0.74951171875, so those
                                rows serve x in [0.7495, 1) * 2^N with Y = 2 x 2^-N), split as
                                T_hi, a multiple of 2^-42 (ln) or 2^-43 (log10) so that
                                N * Ln2hi + T_hi is exact, and T_lo = T - T_hi rounded.
  BT_Tbl_LnSingle      65 rows of two doubles for the single kernels, row i centred on
                       c = 1 + i/64: rcp = 1/c rounded to double, T = -ln(rcp) for rows 0..31
                       and -ln(2 rcp) for rows 32..64 (the exponent counted from 0.74609375),
                       so rows 0 and 64 hold exactly 0 (1040 bytes)
  dbLg2hi/lo           log10(2) split on the 2^-43 grid (42 significant bits).
  Log10 polynomial     R * (P0 + P1 R + ... + P4 R^4) ~ log10(1 + R) - dbC R on |R| <= 2^-10,
                       interpolated at the Chebyshev nodes of h(R) = (log10(1+R) - dbC R) / R
                       (degree 4), so the error is near minimax.
  rcp_table_256[i]     1 / (1 + (i + 1/2)/256) rounded to float (24 bits)
  log_table_256[i]     -ln(rcp) as hi on the 2^-42 grid and lo, two doubles per row
  Taylor coefficients  of expm1 (degree 6, truncation below 2^-63 relative on |r| <= ln2/256)
                       and of log1p (degree 8, below 2^-72 relative on |r| <= 2^-9).
"""
import os
import sys
from fractions import Fraction

import mpmath

mpmath.mp.prec = 256


def frac(v):
    m, e = mpmath.frexp(v)
    m = int(mpmath.floor(m * (1 << 256)))
    return Fraction(m) * Fraction(2) ** (e - 256)


def rnd_bits(q, bits):
    """Fraction q rounded to nearest (ties to even) with `bits` significant bits."""
    if q == 0:
        return Fraction(0)
    s = -1 if q < 0 else 1
    q = abs(q)
    e = 0
    while q >= 2:
        q /= 2
        e += 1
    while q < 1:
        q *= 2
        e -= 1
    scaled = q * (1 << (bits - 1))
    n = scaled.numerator // scaled.denominator
    rem = scaled - n
    if rem > Fraction(1, 2) or (rem == Fraction(1, 2) and n % 2):
        n += 1
    return s * Fraction(n, 1 << (bits - 1)) * Fraction(2) ** e


def rnd_grid(q, lsb_exp):
    """q rounded to the nearest multiple of 2^lsb_exp."""
    scaled = q / Fraction(2) ** lsb_exp
    n = scaled.numerator // scaled.denominator
    rem = scaled - n
    if rem > Fraction(1, 2) or (rem == Fraction(1, 2) and n % 2):
        n += 1
    return n * Fraction(2) ** lsb_exp


def split(q):
    hi = float(q)
    return hi, float(q - Fraction(hi))


def split_grid(q, lsb_exp):
    hi = rnd_grid(q, lsb_exp)
    assert float(hi) == hi
    return float(hi), float(q - hi)


def hx(v):
    return float(v).hex()


def rows(name, ctype, values, per_row, comment=None):
    out = []
    if comment:
        out.append(f"// {comment}")
    n = len(values) // per_row
    out.append(f"alignas(16) inline constexpr {ctype} {name}[{len(values)}] = {{")
    for i in range(n):
        out.append("    " + ", ".join(hx(v) for v in values[i * per_row:(i + 1) * per_row]) + ",")
    out.append("};")
    return out


def exp2_table(n):
    vals = []
    for j in range(n):
        hi, lo = split(frac(mpmath.power(2, mpmath.mpf(j) / n)))
        vals += [hi, lo]
    return vals


def log_table(logf, lsb):
    vals = []
    for i in range(513):
        c = 1 + Fraction(i, 512)
        rcp = rnd_bits(1 / c, 32)
        # log(c/2) as -log(2 rcp) in one evaluation, so row 512 holds exactly 0
        t = -logf(mpmath.mpf((2 if i >= 256 else 1) * rcp.numerator) / rcp.denominator)
        hi, lo = split_grid(frac(t), lsb)
        vals += [float(rcp), 0.0, hi, lo]
        assert float(rcp) == rcp
    return vals


def solve(a, b):
    """Gaussian elimination in Fractions."""
    n = len(b)
    m = [row[:] + [b[i]] for i, row in enumerate(a)]
    for c in range(n):
        p = next(r for r in range(c, n) if m[r][c] != 0)
        m[c], m[p] = m[p], m[c]
        for r in range(n):
            if r != c and m[r][c] != 0:
                f = m[r][c] / m[c][c]
                m[r] = [x - f * y for x, y in zip(m[r], m[c])]
    return [m[i][n] / m[i][i] for i in range(n)]


def log10_poly(c, bound, deg=4):
    inv_ln10 = 1 / mpmath.log(10)
    nodes = [bound * mpmath.cos(mpmath.pi * (2 * k + 1) / (2 * (deg + 1))) for k in range(deg + 1)]
    a = [[frac(x) ** p for p in range(deg + 1)] for x in nodes]
    b = [frac((mpmath.log1p(x) * inv_ln10 - c * x) / x) for x in nodes]
    coef = [float(v) for v in solve(a, b)]
    # measured error of the double coefficients over the interval, relative to log10(1+R)
    worst = mpmath.mpf(0)
    for k in range(-400, 401):
        x = bound * k / 400
        if x == 0:
            continue
        q = mpmath.mpf(0)
        for v in reversed(coef):
            q = q * x + v
        err = abs((c * x + x * q) - mpmath.log1p(x) * inv_ln10) / abs(mpmath.log1p(x) * inv_ln10)
        worst = max(worst, err)
    return coef, worst


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else "src/vmk/core"
    cmd = "python3 tools/tables/gen_explog_tables.py src/vmk/core"
    head = [f"// Generated by `{cmd}`; do not edit.",
            "// Definitions of the tables are in the generator.", "#pragma once", ""]

    exp = head + ["namespace hpk::vmk::exp_tables {", ""]
    exp += rows("s_dwExp2", "double", exp2_table(64), 2, "2^(j/64): hi, lo")
    exp += [""] + rows("s_dwExp2_128", "double", exp2_table(128), 2, "2^(j/128): hi, lo")
    f32 = []
    for j in range(128):
        v = frac(mpmath.power(2, mpmath.mpf(j) / 128))
        hi = rnd_bits(v, 24)
        f32 += [float(hi), float(rnd_bits(v - hi, 24))]
    exp += [""] + ["// 2^(j/128): hi, lo as floats",
                   "alignas(16) inline constexpr float exp2f_table[256] = {"]
    for i in range(0, 256, 4):
        exp.append("    " + ", ".join(hx(v) + "f" for v in f32[i:i + 4]) + ",")
    exp += ["};"]
    taylor = [float(Fraction(1, f)) for f in (2, 6, 24, 120, 720)]
    exp += ["", "// expm1(r) = r + r^2 (c2 + r (c3 + r (c4 + r (c5 + r c6))))"]
    exp += rows("kExpm1Poly", "double", taylor, 5)
    exp += ["", "}  // namespace hpk::vmk::exp_tables", ""]

    ln2 = mpmath.log(2)
    lg2 = mpmath.log10(2)
    lg2hi, lg2lo = split_grid(frac(lg2), -43)
    dbc = Fraction(111, 256)
    coef, worst = log10_poly(dbc, mpmath.mpf(2) ** -10 * mpmath.mpf("1.001"))
    ln = head + ["namespace hpk::vmk::ln_tables {", ""]
    ln += rows("BT_Tbl_Ln", "double", log_table(mpmath.log, -42), 4,
               "rcp, spare, T_hi (2^-42 grid), T_lo")
    ln += [""] + rows("BT_Tbl_Log10", "double", log_table(mpmath.log10, -43), 4,
                      "rcp, spare, T_hi (2^-43 grid), T_lo; decimal logarithms")
    single = []
    for i in range(65):
        c = 1 + Fraction(i, 64)
        rcp = Fraction(float(1 / c))
        t = -mpmath.log(mpmath.mpf((2 if i >= 32 else 1) * rcp.numerator) / rcp.denominator)
        single += [float(rcp), float(frac(t)) if t != 0 else 0.0]
    ln += [""] + rows("BT_Tbl_LnSingle", "double", single, 2, "rcp, T = -ln(rcp) or -ln(2 rcp)")
    ln += ["", f"inline constexpr double dbLg2hi = {hx(lg2hi)};",
           f"inline constexpr double dbLg2lo = {hx(lg2lo)};",
           f"// log10(1+R) ~ dbC R + R (P0 + ... + P4 R^4) on |R| <= 2^-10; relative error of the",
           f"// double coefficients there: {mpmath.nstr(worst, 3)}"]
    ln += rows("kLog10Poly", "double", coef, 5)
    ln += ["", "}  // namespace hpk::vmk::ln_tables", ""]

    rcps, logs = [], []
    for i in range(256):
        rcp = rnd_bits(1 / (1 + Fraction(2 * i + 1, 512)), 24)
        rcps.append(float(rcp))
        hi, lo = split_grid(frac(-mpmath.log(mpmath.mpf(rcp.numerator) / rcp.denominator)), -42)
        logs += [hi, lo]
    l1p = [f"// Generated by `{cmd}`; do not edit.",
           "// Definitions of the tables are in the generator.",
           '#include "vmk/core/log1p/log1p_tables.hpp"', "", "extern \"C\" {"]
    l1p += ["alignas(16) const float hpk_vmk_core_rcp_table_256[256] = {"]
    for i in range(0, 256, 4):
        l1p.append("    " + ", ".join(hx(v) + "f" for v in rcps[i:i + 4]) + ",")
    l1p += ["};", "alignas(16) const double hpk_vmk_core_log_table_256[512] = {"]
    for i in range(0, 512, 2):
        l1p.append("    " + ", ".join(hx(v) for v in logs[i:i + 2]) + ",")
    l1p += ["};", "}", ""]
    q = [float(Fraction((-1) ** (k + 1), k)) for k in range(2, 9)]
    l1ph = [f"// Generated by `{cmd}`; do not edit.",
            "// Definitions of the tables are in the generator.", "#pragma once", "",
            '#include "hpk/export.h"', "",
            "// Shared with the complex logarithms: row i serves m in [1 + i/256, 1 + (i+1)/256).",
            "// rcp: 1/(1 + (i + 1/2)/256) as a float; log: -ln(rcp) as hi (a multiple of 2^-42)",
            "// and lo.",
            "extern \"C\" {",
            "HPK_API extern const float hpk_vmk_core_rcp_table_256[256];",
            "HPK_API extern const double hpk_vmk_core_log_table_256[512];",
            "}", "", "namespace hpk::vmk::log1p_tables {",
            "// log1p(r) = r + r^2 (q2 + r (q3 + ... + r q8)), Taylor, degree 8"]
    l1ph += rows("kLog1pPoly", "double", q, 7)
    l1ph += ["}  // namespace hpk::vmk::log1p_tables", ""]

    def write(path, lines):
        with open(os.path.join(root, path), "w") as f:
            f.write("\n".join(lines))

    write("exp/exp_tables.hpp", exp)
    write("ln/ln_tables.hpp", ln)
    write("log1p/log1p_tables.cpp", l1p)
    write("log1p/log1p_tables.hpp", l1ph)
    print(f"log10 polynomial relative error {mpmath.nstr(worst, 3)}", file=sys.stderr)


if __name__ == "__main__":
    main()
