// The rare routines of LGamma (lgamma_rare.cpp): each reads one input through its address,
// writes one result through its address and returns the status for the dispatcher.
#pragma once

namespace hpk::vmk::lgamma {

int vdlgamma_cout_rare(const double *in, double *out);
int vslgamma_cout_rare(const float *in, float *out);

}  // namespace hpk::vmk::lgamma
