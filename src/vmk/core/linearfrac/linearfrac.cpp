// LinearFrac: y = (scalea*a + shifta) / (scaleb*b + shiftb), each operation rounded in double.
// No status on any input, division by zero included.
//
// The four constants choose one of three loops once per call:
//   scaleb == 0  the denominator is the constant shiftb and b is not read;
//   scalea == 0  the numerator is the constant shifta and a is not read;
//   otherwise    the full expression.
// So a constant numerator or denominator does not turn into NaN through 0 * inf of an element.
// The single twin evaluates in double and rounds once, which is at most 0.5 ulp from the value
// of the expression on the given floats unless the double denominator cancels.
#include "vmk/frame/control.hpp"
#include "vmk/service/thread_state.hpp"
#include "vmk/simd/vec.hpp"

namespace {

using namespace hpk::simd;

enum class Form { kConstDenominator, kConstNumerator, kFull };

inline Form form_of(double scalea, double scaleb) {
  if (scaleb == 0.0) return Form::kConstDenominator;
  if (scalea == 0.0) return Form::kConstNumerator;
  return Form::kFull;
}

struct Coefficients {
  double sa, ta, sb, tb;
};

template <Form F, class V>
inline V evaluate(V a, V b, const Coefficients &c) {
  if constexpr (F == Form::kConstDenominator) {
    return (a * c.sa + c.ta) / c.tb;
  } else if constexpr (F == Form::kConstNumerator) {
    return c.ta / (b * c.sb + c.tb);
  } else {
    return (a * c.sa + c.ta) / (b * c.sb + c.tb);
  }
}

template <Form F>
void loop_d(int n, const double *a, const double *b, const Coefficients &c, double *y) {
  int i = 0;
  // Unused inputs are not read: the loads below touch only the arrays the form needs.
  for (; i + 4 <= n; i += 4) {
    vd r[2];
    for (int k = 0; k < 2; ++k) {
      const vd va = F == Form::kConstNumerator ? vd{} : loadu(a + i + 2 * k);
      const vd vb = F == Form::kConstDenominator ? vd{} : loadu(b + i + 2 * k);
      r[k] = evaluate<F>(va, vb, c);
    }
    storeu(y + i, r[0]);
    storeu(y + i + 2, r[1]);
  }
  for (; i < n; ++i) {
    const double va = F == Form::kConstNumerator ? 0.0 : a[i];
    const double vb = F == Form::kConstDenominator ? 0.0 : b[i];
    y[i] = evaluate<F>(va, vb, c);
  }
}

template <Form F>
void loop_s(int n, const float *a, const float *b, const Coefficients &c, float *y) {
  int i = 0;
  for (; i + 2 <= n; i += 2) {
    const vd va = F == Form::kConstNumerator ? vd{} : vd{a[i], a[i + 1]};
    const vd vb = F == Form::kConstDenominator ? vd{} : vd{b[i], b[i + 1]};
    const vd r = evaluate<F>(va, vb, c);
    y[i] = float(r[0]);
    y[i + 1] = float(r[1]);
  }
  for (; i < n; ++i) {
    const double va = F == Form::kConstNumerator ? 0.0 : a[i];
    const double vb = F == Form::kConstDenominator ? 0.0 : b[i];
    y[i] = float(evaluate<F>(va, vb, c));
  }
}

template <class T, void (*Loop0)(int, const T *, const T *, const Coefficients &, T *),
          void (*Loop1)(int, const T *, const T *, const Coefficients &, T *),
          void (*Loop2)(int, const T *, const T *, const Coefficients &, T *)>
void dispatch(int n, const T *a, const T *b, const Coefficients &c, T *y) {
  switch (form_of(c.sa, c.sb)) {
    case Form::kConstDenominator: return Loop0(n, a, b, c, y);
    case Form::kConstNumerator: return Loop1(n, a, b, c, y);
    case Form::kFull: return Loop2(n, a, b, c, y);
  }
}

}  // namespace

extern "C" {

// Both control schemes: SSE state from the mode, and the x87 unit held at 53-bit nearest.
void hpk_vmk_kernel_dLinearFrac_EXHAynn(int n, const double *a, const double *b, double scalea,
                                        double shifta, double scaleb, double shiftb, double *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope sse(hpk::vmk::current_mode());
  const hpk::vmk::X87ControlScope x87(hpk::vmk::X87ControlScope::kDouble);
  dispatch<double, loop_d<Form::kConstDenominator>, loop_d<Form::kConstNumerator>,
           loop_d<Form::kFull>>(n, a, b, {scalea, shifta, scaleb, shiftb}, y);
}

void hpk_vmk_kernel_sLinearFrac_EXHAynn(int n, const float *a, const float *b, float scalea,
                                        float shifta, float scaleb, float shiftb, float *y) {
  if (n <= 0) return;
  const hpk::vmk::SseControlScope sse(hpk::vmk::current_mode());
  dispatch<float, loop_s<Form::kConstDenominator>, loop_s<Form::kConstNumerator>,
           loop_s<Form::kFull>>(n, a, b, {scalea, shifta, scaleb, shiftb}, y);
}

}
