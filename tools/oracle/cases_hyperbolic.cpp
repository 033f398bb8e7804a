// Hyperbolic functions and their inverses, with the inputs where the kernels change route, the
// overflow thresholds, and the neighbourhoods of 0, of 1 (Acosh) and of +-1 (Atanh) where the
// textbook formulas cancel.
#include "cases_common.hpp"

namespace hpk::oracle {

namespace {

int ref_sinh(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_sinh(r, a, m); }
int ref_cosh(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_cosh(r, a, m); }
int ref_tanh(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_tanh(r, a, m); }
int ref_asinh(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_asinh(r, a, m); }
int ref_acosh(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_acosh(r, a, m); }
int ref_atanh(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t m) { return mpfr_atanh(r, a, m); }

// Route boundaries of the double kernels (2^-28, 1/32, 1/8, 1/4, 22, 709.78125, 2^511) with
// their neighbours, the double and single overflow thresholds of Sinh and Cosh, and the edges
// of the domains.
const std::vector<double> kHyperSpecials = {
    0.0, -0.0, 1.0, -1.0, kTrueMinD, kMinD, kMaxD, -kMaxD, kInf, -kInf,
    0x1p-28, 0x1.fffffffffffffp-29, 0x1p-12, 0x1.fffffep-13,
    0.03125, 0x1.fffffffffffffp-6, 0.125, 0x1.fffffffffffffp-4, 0.25, 0x1.fffffffffffffp-3,
    0.5, 22.0, 0x1.5ffffffffffffp+4, 19.0, 89.0, 89.41598629223294, 89.415985107421875,
    89.41599273681641, 709.78125, 0x1.62e41ffffffffp+9, 710.4758600739439, 710.475860073944,
    710.4758600739438, 711.0, 0x1p28, 0x1.fffffffffffffp+27, 0x1p511, 0x1.fffffffffffffp+510, 0x1p600,
    0x1.0000000000001p+0, 0x1.0000000000002p+0, 1.0 + 0x1p-30, 0x1.fffffffffffffp-1,
    -0x1.fffffffffffffp-1, 0x1.ffffffffffffep-1, 0.9999999, 1.0000001, 1.5, 2.0};

std::vector<double> with_single_thresholds() {
  std::vector<double> out;
  for (double d : kHyperSpecials) out.push_back(double(float(d)));
  for (float f : {89.41598510742188f, 89.4159927368164f, 0x1.fffffep-1f, 0x1.000002p+0f,
                  0x1.000004p+0f, 0x1p-12f, 0x1.fffffep-13f})
    out.push_back(f);
  return out;
}

void add_pair(std::vector<Case> &out, const char *fn, void *ks, void *kd, Ref1 ref,
              std::vector<Range> rs, std::vector<Range> rd, const char *peer, void *ps,
              void *pd) {
  out.push_back({std::string("s") + fn, 's', 1, ks, ref, nullptr, rs, with_single_thresholds(),
                 1.0, single_peer(peer), ps});
  out.push_back({std::string("d") + fn, 'd', 1, kd, ref, nullptr, rd, kHyperSpecials, 1.0, peer,
                 pd});
}

#define PEERS(f) kernel_address(+[](float a) { return std::f(a); }), \
                 kernel_address(+[](double a) { return std::f(a); })

}  // namespace

void add_hyperbolic_cases(std::vector<Case> &out) {
  const Range near0_d{0x1p-40, 0.5, true};
  const Range near0_s{0x1p-20, 0.5, true};
  const Range mid{0.5, 25.0, true};
  const Range ovf_d{700.0, 710.5, true};
  const Range ovf_s{80.0, 89.5, true};
  const Range whole_d{kTrueMinD, kMaxD, true};
  const Range whole_s{kTrueMinF, kMaxF, true};
  const Range ge1_d{1.0, kMaxD, false};
  const Range ge1_s{1.0, kMaxF, false};
  const Range at1{1.0, 1.0 + 0x1p-20, false};
  const Range near1{1.0, 4.0, false};
  const Range unit_d{kTrueMinD, 1.0, true};
  const Range unit_s{kTrueMinF, 1.0f, true};
  const Range pole{0x1.ffffp-1, 1.0, true};
  add_pair(out, "Sinh", kernel_address(_vmksSinh_HA), kernel_address(_vmkdSinh_HA), ref_sinh,
           {{kTrueMinF, 90.0, true}, near0_s, ovf_s}, {{kTrueMinD, 711.0, true}, near0_d, mid, ovf_d},
           "sinh", PEERS(sinh));
  add_pair(out, "Cosh", kernel_address(_vmksCosh_HA), kernel_address(_vmkdCosh_HA), ref_cosh,
           {{kTrueMinF, 90.0, true}, near0_s, ovf_s}, {{kTrueMinD, 711.0, true}, near0_d, mid, ovf_d},
           "cosh", PEERS(cosh));
  add_pair(out, "Tanh", kernel_address(_vmksTanh_HA), kernel_address(_vmkdTanh_HA), ref_tanh,
           {whole_s, near0_s, mid}, {whole_d, near0_d, mid}, "tanh", PEERS(tanh));
  add_pair(out, "Asinh", kernel_address(_vmksAsinh_HA), kernel_address(_vmkdAsinh_HA), ref_asinh,
           {whole_s, near0_s, mid}, {whole_d, near0_d, mid, {1e7, 1e9, true}}, "asinh",
           PEERS(asinh));
  add_pair(out, "Acosh", kernel_address(_vmksAcosh_HA), kernel_address(_vmkdAcosh_HA), ref_acosh,
           {ge1_s, at1, near1}, {ge1_d, at1, near1, {1e7, 1e9, false}}, "acosh", PEERS(acosh));
  set_timing(out, 1.01, 8.0);
  add_pair(out, "Atanh", kernel_address(_vmksAtanh_HA), kernel_address(_vmkdAtanh_HA), ref_atanh,
           {unit_s, near0_s, pole}, {unit_d, near0_d, pole, {0.4, 0.6, true}}, "atanh",
           PEERS(atanh));
  set_timing(out, 0.0625, 0.99);
}

}  // namespace hpk::oracle
