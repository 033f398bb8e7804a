// The three extended-precision functions the complex inverse functions end in: ln(1 + u),
// ln v and atan2(y, x), for the arguments those kernels give them (u >= 0, v >= 1, y >= 0 and
// (x, y) not both 0). The caller holds the x87 control word at 64-bit precision
// (X87ControlScope(kExtended)).
//
// They run on the x87 unit's own transcendental instructions: fyl2xp1 (for u below 1/4, inside its domain
// |u| < 1 - sqrt(2)/2, where 1 + u would lose u's low bits), fyl2x and fpatan, each within about one ulp of the
// 64-bit significand, so with the ln 2 factor (fldln2, rounded to 64 bits) a result carries a
// relative error below 2^-62: far below the 2^-53 of a double part it is rounded to.
#pragma once

namespace hpk::vmk::celem {

// ln(1 + u), u >= 0 finite.
inline long double log1p_ext(long double u) {
  long double ln2, r;
  __asm__("fldln2" : "=t"(ln2));
  if (u < 0x1p-2L) {
    __asm__("fyl2xp1" : "=t"(r) : "0"(u), "u"(ln2) : "st(1)");
  } else {
    // 1 + u rounds by at most 2^-64 relative, and ln(1 + u) > 0.22 here: the rounding adds
    // below 2^-62 of the result.
    __asm__("fyl2x" : "=t"(r) : "0"(1.0L + u), "u"(ln2) : "st(1)");
  }
  return r;
}

// ln v, v >= 1 finite.
inline long double log_ext(long double v) {
  long double ln2, r;
  __asm__("fldln2" : "=t"(ln2));
  __asm__("fyl2x" : "=t"(r) : "0"(v), "u"(ln2) : "st(1)");
  return r;
}

// atan2(y, x): the angle of (x, y) in [-pi, pi], finite parts, not both zero.
inline long double atan2_ext(long double y, long double x) {
  long double r;
  __asm__("fpatan" : "=t"(r) : "0"(x), "u"(y) : "st(1)");
  return r;
}

}  // namespace hpk::vmk::celem
