#!/usr/bin/env python3
"""Generate src/vmk/core/erfinv/erfinv_tables.hpp: the polynomials of the ErfInv kernels.

With a = |x| the kernels use two routes:
  central, a < 0.5:  erfinv x = x F(t), t = x^2, F smooth on [0, 0.25];
  outer, a >= 0.5:   w = -log((1 - a)(1 + a)), s = sqrt(w), erfinv a = s + g(s), g = y - s
                     (|g| <= 0.12 y); s lies in [0.536, 6.004] (1 - a >= 2^-53).
The outer route takes row k = floor(2 s) - 1 (0..11, s in [0.5 + k/2, 1 + k/2)) and evaluates
g as a polynomial in r = s - m_k.  A row is 16 doubles: entry 0 is -m_k, entry 1 the low part
of the degree-0 coefficient (Ha only: g(m_k) is 0.08..0.17 and its rounding alone would cost
2^-56 of the result; zero for the other levels), entries 2.. the coefficients of degrees 0, 1,
...; unused entries are zero.

Levels (the relative error of the unrounded result that each table is fitted for):
  Ha      central Q(t) = (F(t) - sqrt(pi)/2) / t; the kernel adds x sqrt(pi)/2 in two parts.
          Error of the polynomials below 2^-60 (central) and 2^-58.5 (outer) of the result.
  Mid     double enhanced-performance and single high accuracy, below 2^-31.
  Low     single low accuracy, below 2^-24 (a single ulp is 2^-24 to 2^-23 of the value, so
          at most 1.5 ulp after the rounding to single).
  Coarse  single enhanced performance, below 2^-16.
The fits are least squares relative to the result over Chebyshev points (close to minimax) in
60-digit arithmetic, with coefficients rounded to double; the script prints, per level, the
largest relative error of the rounded polynomials over 400 points of every row, measured
against mpmath's erfinv.  The chosen degrees are the smallest that meet the level's target.
Run: python3 tools/tables/gen_erfinv.py > src/vmk/core/erfinv/erfinv_tables.hpp
"""
import sys
import mpmath as mp

mp.mp.dps = 60
NROWS = 12
SMAX = mp.sqrt(-mp.log(mp.ldexp(1, -53) * (2 - mp.ldexp(1, -53))))
SMIN = mp.sqrt(-mp.log(mp.mpf(0.75)))


def y_of_s(s):
    x = mp.sqrt(-mp.expm1(-s * s))
    return mp.erfinv(x)


def F(t):
    x = mp.sqrt(t)
    return mp.erfinv(x) / x


C0 = mp.sqrt(mp.pi) / 2


def cheb(a, b, n):
    return [(a + b) / 2 + (b - a) / 2 * mp.cos(mp.pi * (2 * i + 1) / (2 * n)) for i in range(n)]


def lsq(xs, fs, ws, deg, c):
    """Coefficients p_k of sum p_k (x - c)^k fitting fs with weights ws."""
    n = len(xs)
    h = max(abs(x - c) for x in xs)  # fit in (x - c) / h, so narrow rows stay well conditioned
    A = mp.matrix(n, deg + 1)
    b = mp.matrix(n, 1)
    for i in range(n):
        r = (xs[i] - c) / h
        v = mp.mpf(1)
        for k in range(deg + 1):
            A[i, k] = v * ws[i]
            v *= r
        b[i] = fs[i] * ws[i]
    try:
        sol, _ = mp.qr_solve(A, b)
    except ValueError:  # fitted to the working precision by a lower degree (the short row 11)
        return lsq(xs, fs, ws, deg - 1, c) + [mp.mpf(0)]
    return [sol[k] / h**k for k in range(deg + 1)]


def rounded(p, split0):
    """Coefficients rounded to double; with split0 the degree-0 one as high + low parts."""
    hi = [float(cf) for cf in p]
    lo = float(p[0] - hi[0]) if split0 else 0.0
    return hi, lo


def horner(p, r):
    acc = mp.mpf(0)
    for cf in reversed(p):
        acc = acc * r + mp.mpf(cf)
    return acc


def row_bounds(k):
    lo = mp.mpf(0.5) + mp.mpf(k) / 2
    hi = lo + mp.mpf(0.5)
    return max(lo, SMIN), min(hi, SMAX + mp.mpf(2) ** -20), lo + mp.mpf(0.25)


_cache = {}


def cached(f, x):
    key = (f.__name__, x)
    if key not in _cache:
        _cache[key] = f(x)
    return _cache[key]


def fit_outer(deg, split0):
    rows, worst = [], mp.mpf(0)
    for k in range(NROWS):
        a, b, m = row_bounds(k)
        xs = cheb(a, b, 2 * deg + 6)
        ys = [y_of_s(s) for s in xs]
        p, p0lo = rounded(lsq(xs, [y - s for y, s in zip(ys, xs)], [1 / y for y in ys], deg, m),
                          split0)
        for i in range(401):
            s = a + (b - a) * i / 400
            y = cached(y_of_s, s)
            worst = max(worst, abs((s + horner(p, s - m) + p0lo) / y - 1))
        rows.append([float(-m), p0lo] + p)
    return rows, worst


def fit_central(deg, split):
    ts = cheb(mp.mpf(0), mp.mpf(0.25), 2 * deg + 6)
    fs = [F(t) for t in ts]
    if split:  # Q(t) = (F - c0) / t, error weighted by its share t Q / F of the result
        p, _ = rounded(lsq(ts, [(f - C0) / t for f, t in zip(fs, ts)],
                           [t / f for f, t in zip(fs, ts)], deg, 0), False)
        val = lambda t: C0 + t * horner(p, t)
    else:
        p, _ = rounded(lsq(ts, fs, [1 / f for f in fs], deg, 0), False)
        val = lambda t: horner(p, t)
    worst = mp.mpf(0)
    for i in range(1, 402):
        t = mp.mpf(0.25) * i / 401
        worst = max(worst, abs(val(t) / cached(F, t) - 1))
    return p, worst


def smallest(fit, target, start):
    deg = start
    while True:
        res = fit(deg)
        print(f"  degree {deg}: 2^{float(mp.log(res[1], 2)):.1f}", file=sys.stderr)
        if res[1] < target:
            return deg, res
        if deg > 16:
            return deg, res
        deg += 1


def hexf(v):
    return float(v).hex()


def emit_poly(name, p, note):
    out = [f"// {note}", f"inline constexpr double {name}[{len(p)}] = {{"]
    for cf in p:
        out.append(f"    {hexf(cf)},  // {cf!r}")
    out.append("};")
    return out


def emit_rows(name, rows):
    out = [f"alignas(64) inline constexpr double {name}[{NROWS}][16] = {{"]
    for r in rows:
        r = r + [0.0] * (16 - len(r))
        out.append("    {" + ", ".join(hexf(v) for v in r) + "},")
    out.append("};")
    return out


def main():
    lines = [
        "// Generated by `python3 tools/tables/gen_erfinv.py > src/vmk/core/erfinv/erfinv_tables.hpp`;",
        "// do not edit. The method, the row layout and the fits are described in the generator.",
        "#pragma once",
        "",
        "namespace hpk::vmk::erfinv_tables {",
        "",
    ]
    c0h = float(C0)
    c0l = float(C0 - c0h)
    lines += [f"inline constexpr double kSqrtPiOver2Hi = {hexf(c0h)};  // sqrt(pi)/2 = {c0h!r}",
              f"inline constexpr double kSqrtPiOver2Lo = {hexf(c0l)};", ""]
    # (name, target, split central, first degrees tried: central, outer)
        # The Ha outer rows stop at 2^-58.5: the rounding of the degree-1 coefficients (up to 0.1,
    # times |r| <= 1/4) alone reaches 2^-59 of the result.
    levels = [("Ha", mp.mpf(2) ** -60, mp.mpf(2) ** -58.5, True, 12, 12),
              ("Mid", mp.mpf(2) ** -31, mp.mpf(2) ** -31, False, 6, 4),
              ("Low", mp.mpf(2) ** -24, mp.mpf(2) ** -24, False, 3, 3),
              ("Coarse", mp.mpf(2) ** -16, mp.mpf(2) ** -16, False, 2, 1)]
    for name, target, target_outer, split, sc, so in levels:
        dc, (pc, ec) = smallest(lambda d: fit_central(d, split), target, sc)
        do, (rows, eo) = smallest(lambda d: fit_outer(d, split), target_outer, so)
        print(f"{name}: central degree {dc} error 2^{float(mp.log(ec, 2)):.1f}, "
              f"outer degree {do} error 2^{float(mp.log(eo, 2)):.1f}", file=sys.stderr)
        lines += [f"// {name}: central degree {dc} (error 2^{float(mp.log(ec, 2)):.1f}), "
                  f"outer degree {do} (error 2^{float(mp.log(eo, 2)):.1f})"]
        lines += [f"inline constexpr int k{name}CentralDegree = {dc};",
                  f"inline constexpr int k{name}OuterDegree = {do};"]
        what = "Q(t), F = sqrt(pi)/2 + t Q(t)" if split else "F(t)"
        lines += emit_poly(f"k{name}Central", pc, f"{what}, degrees 0 up")
        lines += emit_rows(f"k{name}Outer", rows)
        lines.append("")
    lines += ["}  // namespace hpk::vmk::erfinv_tables", ""]
    sys.stdout.write("\n".join(lines))


if __name__ == "__main__":
    main()
