// The scalar routes of the power kernels: every input, with the statuses of the family.
//   x negative and finite, y finite and not an integer  -> the default NaN QNaN, status 1
//   x = +-0, y negative (-inf included)                   -> +inf, or +-inf (the sign of x) for
//                                                            an odd integer y, status 1
//   all other cases, NaNs, overflow and underflow included -> as IEEE pow, no status
// The status goes to the caller's flag; the caller reports it with its own name.
#pragma once

namespace hpk::vmk::pow_core {

// y's class for the sign rule: 0 not an integer, 1 odd integer, 2 even integer (|y| >= 2^53,
// zeros and infinities count as even); NaN is 0.
int classify_y(double y);

// powc_scalar: y already classified (the constant exponent of Powx is classified once per
// call). pow_scalar classifies y itself.
double powc_scalar(double x, double y, int y_class, int &status);
double pow_scalar(double x, double y, int &status);

// _spow_scalar: the single routine, the same classification and statuses, computed in double
// and rounded once.
float spow_scalar(float x, float y, int y_class, int &status);

}  // namespace hpk::vmk::pow_core
