// The MPFR reference of the inverse error function, shared by the oracle rows and the tests.
#pragma once

#include <mpfr.h>

namespace hpk::oracle {

// erfinv x rounded by rnd to the precision of r; NaN outside [-1, 1], +-infinity at +-1.
int ref_erfinv(mpfr_ptr r, mpfr_srcptr x, mpfr_rnd_t rnd);

}  // namespace hpk::oracle
