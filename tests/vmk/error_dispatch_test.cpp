// Error dispatch: the record's layout, the order of the eight steps under each error mode, the
// index mapping of all four element types, the name rule, errno and exception by code, the
// report text by element shape, narrowing and write-back order, and per-thread call-backs.
// Every case runs on a fresh thread, so it starts from the default mode with no call-back.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cfenv>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <string>
#include <thread>
#include <type_traits>

#include "hpk/vmk.h"

namespace {

template <class F>
void on_fresh_thread(F f) {
  std::thread(f).join();
}

constexpr int kSentinelErrno = 12345;
constexpr int kFlags = FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW;

// What the call-backs saw, on the thread that ran them.
thread_local int t_calls = 0;
thread_local HpkVmkErrorContext t_seen;

int cb_observe(HpkVmkErrorContext *c) {
  ++t_calls;
  t_seen = *c;
  return 0;
}
int cb_replace(HpkVmkErrorContext *c) {
  cb_observe(c);
  c->res1 = 42.5;
  return 0;
}
int cb_replace_and_stop(HpkVmkErrorContext *c) {
  cb_observe(c);
  c->res1 = 42.5;
  return 1;
}
int cb_code_to_overflow(HpkVmkErrorContext *c) {
  cb_observe(c);
  c->code = 3;
  return 0;
}
int cb_code_to_caller_error(HpkVmkErrorContext *c) {
  cb_observe(c);
  c->code = -1;
  c->res1 = 42.5;
  return 0;
}

TEST(ErrorContext, FieldsLieInTheirPublishedOrder) {
  EXPECT_EQ(offsetof(HpkVmkErrorContext, code), 0u);
  EXPECT_EQ(offsetof(HpkVmkErrorContext, index), 4u);
  EXPECT_EQ(offsetof(HpkVmkErrorContext, arg1), 8u);
  EXPECT_EQ(offsetof(HpkVmkErrorContext, arg2), 16u);
  EXPECT_EQ(offsetof(HpkVmkErrorContext, res1), 24u);
  EXPECT_EQ(offsetof(HpkVmkErrorContext, res2), 32u);
  EXPECT_EQ(offsetof(HpkVmkErrorContext, funcName), 40u);
  EXPECT_EQ(offsetof(HpkVmkErrorContext, funcNameLen), 104u);
  EXPECT_EQ(offsetof(HpkVmkErrorContext, arg1Imag), 112u);
  EXPECT_EQ(offsetof(HpkVmkErrorContext, res2Imag), 136u);
  EXPECT_EQ(sizeof(HpkVmkErrorContext), 144u);
}

struct ModeCase {
  const char *what;
  HpkVmkErrorCallBack callback;
  uint32_t mode;
  int code;
  // expected
  int calls;
  int err;           // errno after the call; kSentinelErrno if untouched
  int flags;         // exception flags raised
  double y;          // the element after the call (the kernel stored 7.0)
  const char *text;  // standard error
};

TEST(ErrorDispatch, StepsRunInOrderUnderEachMode) {
  const ModeCase cases[] = {
      {"0x100 only sets the status", cb_observe, 0x100, 1, 0, kSentinelErrno, 0, 7.0, ""},
      {"0x1100 is not ignore: the call-back runs", cb_observe, 0x1100, 1, 1, kSentinelErrno, 0,
       7.0, ""},
      {"call-back returning 0 replaces res1", cb_replace, 0x1000, 1, 1, kSentinelErrno, 0, 42.5,
       ""},
      {"call-back returning 1 stops everything", cb_replace_and_stop, 0x1E00, 1, 1,
       kSentinelErrno, 0, 7.0, ""},
      {"errno follows the code the call-back left", cb_code_to_overflow, 0x1200, 1, 1, ERANGE, 0,
       7.0, ""},
      {"exception follows the code the call-back left", cb_code_to_overflow, 0x1800, 1, 1,
       kSentinelErrno, FE_OVERFLOW, 7.0, ""},
      {"default mode without call-back: errno and exception, no text", nullptr, 0x1A00, 1, 0,
       EDOM, FE_INVALID, 7.0, ""},
      {"code -1 from the call-back: its report, and write-back still", cb_code_to_caller_error,
       0x1400, 1, 1, kSentinelErrno, 0, 42.5, "vdTest: argument 3 is invalid on entry\n"},
      {"report, errno and exception together", nullptr, 0xE00, 2, 0, ERANGE, FE_DIVBYZERO, 7.0,
       "vdTest: singularity, the function has a pole at the argument (status 2)\n"
       "    element 3: argument 2\n"
       "    element 3: result 7\n"},
  };
  for (const ModeCase &c : cases) {
    SCOPED_TRACE(c.what);
    on_fresh_thread([&] {
      double a[5] = {0, 0, 0, 2.0, 0}, y[5] = {0, 0, 0, 7.0, 0};
      hpk_vmk_kernel_SetErrorCallBack(c.callback);
      hpk_vmk_kernel_SetMode(c.mode);
      t_calls = 0;
      errno = kSentinelErrno;
      std::feclearexcept(FE_ALL_EXCEPT);
      testing::internal::CaptureStderr();
      hpk_vmk_kernel_dError(c.code, 3, a, a, y, y, "vdTest");
      const int flags = std::fetestexcept(kFlags);
      const int err = errno;
      const std::string text = testing::internal::GetCapturedStderr();
      EXPECT_EQ(hpk_vmk_kernel_GetErrStatus(), c.code);
      EXPECT_EQ(t_calls, c.calls);
      EXPECT_EQ(err, c.err);
      EXPECT_EQ(flags, c.flags);
      EXPECT_EQ(y[3], c.y);
      EXPECT_EQ(text, c.text);
      if (c.calls) {
        EXPECT_EQ(t_seen.code, c.code);
        EXPECT_EQ(t_seen.index, 3);
        EXPECT_EQ(t_seen.arg1, 2.0);
        EXPECT_EQ(t_seen.res1, 7.0);
      }
    });
  }
}

TEST(ErrorDispatch, ErrnoAndExceptionByCode) {
  struct CodeCase {
    int code, err, flags;
  };
  const CodeCase cases[] = {
      {0, 0, 0},          {1, EDOM, FE_INVALID},       {2, ERANGE, FE_DIVBYZERO},
      {3, ERANGE, FE_OVERFLOW}, {4, ERANGE, FE_UNDERFLOW}, {-1, EINVAL, 0},
      {-2, EACCES, 0},    {5, EFAULT, 0},              {-9, EFAULT, 0},
  };
  for (const CodeCase &c : cases) {
    SCOPED_TRACE(c.code);
    on_fresh_thread([&] {
      double a[1] = {1.0}, y[1] = {1.0};
      hpk_vmk_kernel_SetMode(0xA00);
      errno = kSentinelErrno;
      std::feclearexcept(FE_ALL_EXCEPT);
      hpk_vmk_kernel_dError(c.code, 0, a, a, y, y, "vdTest");
      EXPECT_EQ(std::fetestexcept(kFlags), c.flags);
      EXPECT_EQ(errno, c.err);
    });
  }
}

TEST(ErrorDispatch, UnderflowOperationIsFlushedUnderTheKernelsControlState) {
  // With flush-to-zero on (as a kernel in the 0x280000 denormal mode runs), the code 4 square
  // still raises underflow: the operation is real and runs under the caller's MXCSR.
  on_fresh_thread([] {
    double a[1] = {1.0}, y[1] = {1.0};
    hpk_vmk_kernel_SetMode(0x800);
    const unsigned saved = __builtin_ia32_stmxcsr();
    __builtin_ia32_ldmxcsr(saved | 0x8040);
    std::feclearexcept(FE_ALL_EXCEPT);
    hpk_vmk_kernel_dError(4, 0, a, a, y, y, "vdTest");
    const int flags = std::fetestexcept(kFlags);
    __builtin_ia32_ldmxcsr(saved);
    EXPECT_EQ(flags, FE_UNDERFLOW);
  });
}

struct ShapeCase {
  const char *what;
  int code;
  double a, b, y, z;
  bool same_inputs, same_results;  // the kernel passed the same array twice
  const char *text;
};

TEST(ErrorDispatch, ReportLinesFollowTheShapeOfTheElement) {
  const double nan = std::nan("");
  const ShapeCase cases[] = {
      {"one argument, one result", 1, -2.0, 0, -1.5, 0, true, true,
       "vdTest: argument outside the domain of the function (status 1)\n"
       "    element 1: argument -2\n"
       "    element 1: result -1.5\n"},
      {"one argument, two results", 3, 800.0, 0, INFINITY, 0.25, true, false,
       "vdTest: the result overflows (status 3)\n"
       "    element 1: argument 800\n"
       "    element 1: first result inf\n"
       "    element 1: second result 0.25\n"},
      {"two arguments, one result (second result 0.0)", 4, 1e-300, 1e300, 0.0, 0.0, false, false,
       "vdTest: the result underflows (status 4)\n"
       "    element 1: first argument 1e-300\n"
       "    element 1: second argument 1.0000000000000001e+300\n"
       "    element 1: result 0\n"},
      {"two arguments, two results", 7, 0.5, 3.0, 1.0, 2.0, false, false,
       "vdTest: unknown error status\n"
       "    element 1: first argument 0.5\n"
       "    element 1: second argument 3\n"
       "    element 1: first result 1\n"
       "    element 1: second result 2\n"},
      {"a NaN argument compares unequal to itself", 1, nan, 0, nan, 0, true, true,
       "vdTest: argument outside the domain of the function (status 1)\n"
       "    element 1: first argument nan\n"
       "    element 1: second argument nan\n"
       "    element 1: first result nan\n"
       "    element 1: second result nan\n"},
      {"a second argument of 0.0 counts as none", 2, 1.0, 0.0, INFINITY, 0, false, true,
       "vdTest: singularity, the function has a pole at the argument (status 2)\n"
       "    element 1: argument 1\n"
       "    element 1: result inf\n"},
      {"code -2 prints its heading alone", -2, 1.0, 2.0, 3.0, 4.0, false, false,
       "vdTest: the arguments are inconsistent on entry\n"},
      {"code 0 prints nothing", 0, 1.0, 2.0, 3.0, 4.0, false, false, ""},
  };
  for (const ShapeCase &c : cases) {
    SCOPED_TRACE(c.what);
    on_fresh_thread([&] {
      double a[2] = {0, c.a}, b[2] = {0, c.b}, y[2] = {0, c.y}, z[2] = {0, c.z};
      hpk_vmk_kernel_SetMode(0x400);
      testing::internal::CaptureStderr();
      hpk_vmk_kernel_dError(c.code, 1, a, c.same_inputs ? a : b, y, c.same_results ? y : z,
                            "vdTest");
      EXPECT_EQ(testing::internal::GetCapturedStderr(), c.text);
    });
  }
}

// An input-vector pointer 80 bytes before the array moves the call-back's index by 80 bytes'
// worth of elements; the result still lands at the kernel's own index.
template <class T>
void check_index_mapping(void (*dispatcher)(int32_t, int32_t, const T *, const T *, T *, T *,
                                            const char *),
                         int expected_shift) {
  on_fresh_thread([&] {
    T a[32] = {}, y[32] = {};
    hpk_vmk_kernel_SetErrorCallBack(cb_replace);
    hpk_vmk_kernel_SetInterfInputVectorPointer(reinterpret_cast<const char *>(a) - 80);
    t_calls = 0;
    dispatcher(1, 3, a, a, y, y, "vxTest");
    EXPECT_EQ(t_calls, 1);
    EXPECT_EQ(t_seen.index, 3 + expected_shift);
    const T zero{};
    EXPECT_EQ(std::memcmp(&y[3 + expected_shift], &zero, sizeof(T)), 0);
    double stored;
    if constexpr (std::is_same_v<T, float> || std::is_same_v<T, double>) stored = y[3];
    else stored = y[3].re;
    EXPECT_EQ(stored, 42.5);
  });
}

TEST(ErrorDispatch, InputVectorPointerMapsTheIndexByElementSize) {
  check_index_mapping<float>(hpk_vmk_kernel_sError, 20);
  check_index_mapping<double>(hpk_vmk_kernel_dError, 10);
  check_index_mapping<hpk_complex8>(hpk_vmk_kernel_cError, 10);
  check_index_mapping<hpk_complex16>(hpk_vmk_kernel_zError, 5);
}

TEST(ErrorDispatch, NameIsCutAt64CharactersAndThenUnterminated) {
  for (const int len : {0, 5, 63, 64, 65, 100}) {
    SCOPED_TRACE(len);
    on_fresh_thread([&] {
      std::string name(len, 'n');
      for (int i = 0; i < len; ++i) name[i] = char('a' + i % 26);
      double a[1] = {1}, y[1] = {1};
      hpk_vmk_kernel_SetErrorCallBack(cb_observe);
      hpk_vmk_kernel_dError(1, 0, a, a, y, y, name.c_str());
      const int copied = len < 64 ? len : 64;
      EXPECT_EQ(t_seen.funcNameLen, copied);
      EXPECT_EQ(std::memcmp(t_seen.funcName, name.data(), copied), 0);
      if (len < 64) EXPECT_EQ(t_seen.funcName[len], '\0');
    });
  }
  // The report prints the name by its length, not up to a terminator that is not there.
  on_fresh_thread([] {
    const std::string name(70, 'x');
    double a[1] = {1}, y[1] = {1};
    hpk_vmk_kernel_SetMode(0x400);
    testing::internal::CaptureStderr();
    hpk_vmk_kernel_dError(-2, 0, a, a, y, y, name.c_str());
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(64, 'x') + ": the arguments are inconsistent on entry\n");
  });
}

int cb_complex(HpkVmkErrorContext *c) {
  cb_observe(c);
  c->res1 = 1.0 / 3.0;
  c->res1Imag = -0.1;
  c->res2 = 99.0;
  c->res2Imag = 98.0;
  return 0;
}

TEST(ErrorDispatch, ComplexElementsAreWidenedAndNarrowedAndTheFirstResultWins) {
  on_fresh_thread([] {
    hpk_complex8 a[2] = {{0, 0}, {1.5f, -2.5f}}, b[2] = {{0, 0}, {3.25f, 4.75f}};
    hpk_complex8 y[2] = {{0, 0}, {5.5f, 6.5f}};
    hpk_vmk_kernel_SetErrorCallBack(cb_complex);
    hpk_vmk_kernel_cError(2, 1, a, b, y, y, "vcTest");
    EXPECT_EQ(t_seen.arg1, 1.5);
    EXPECT_EQ(t_seen.arg1Imag, -2.5);
    EXPECT_EQ(t_seen.arg2, 3.25);
    EXPECT_EQ(t_seen.arg2Imag, 4.75);
    EXPECT_EQ(t_seen.res1, 5.5);
    EXPECT_EQ(t_seen.res1Imag, 6.5);
    // y was passed twice: res2 is written first, then res1 over it, narrowed to single.
    EXPECT_EQ(y[1].re, float(1.0 / 3.0));
    EXPECT_EQ(y[1].im, float(-0.1));
  });
  on_fresh_thread([] {
    hpk_complex16 a[1] = {{1.0, 2.0}}, y[1] = {{3.0, 4.0}}, z[1] = {{5.0, 6.0}};
    hpk_vmk_kernel_SetErrorCallBack(cb_complex);
    hpk_vmk_kernel_zError(1, 0, a, a, y, z, "vzTest");
    EXPECT_EQ(t_seen.res2Imag, 6.0);
    EXPECT_EQ(y[0].re, 1.0 / 3.0);
    EXPECT_EQ(y[0].im, -0.1);
    EXPECT_EQ(z[0].re, 99.0);
    EXPECT_EQ(z[0].im, 98.0);
  });
}

TEST(ErrorDispatch, SingleResultsAreNarrowed) {
  on_fresh_thread([] {
    float a[1] = {-1.0f}, y[1] = {0.0f};
    hpk_vmk_kernel_SetErrorCallBack(cb_complex);
    hpk_vmk_kernel_sError(1, 0, a, a, y, y, "vsTest");
    EXPECT_EQ(t_seen.arg1, -1.0);
    EXPECT_EQ(y[0], float(1.0 / 3.0));
  });
}

TEST(ErrorDispatch, CallerCodesReadAndWriteNoArray) {
  for (const int code : {-1, -2}) {
    on_fresh_thread([&] {
      hpk_vmk_kernel_SetErrorCallBack(cb_replace);
      hpk_vmk_kernel_SetMode(0x1200);
      t_calls = 0;
      hpk_vmk_kernel_dError(code, 2, nullptr, nullptr, nullptr, nullptr, "vdTest");
      EXPECT_EQ(t_calls, 1);
      EXPECT_EQ(t_seen.code, code);
      EXPECT_EQ(errno, code == -1 ? EINVAL : EACCES);
      EXPECT_EQ(hpk_vmk_kernel_GetErrStatus(), code);
    });
  }
}

std::atomic<int> g_calls{0};
int cb_count(HpkVmkErrorContext *) {
  ++g_calls;
  return 1;
}

TEST(ErrorDispatch, CallBackBelongsToTheThreadThatInstalledIt) {
  g_calls = 0;
  on_fresh_thread([] {
    hpk_vmk_kernel_SetErrorCallBack(cb_count);
    on_fresh_thread([] {
      double a[1] = {1}, y[1] = {1};
      hpk_vmk_kernel_SetMode(0x1000);
      hpk_vmk_kernel_dError(1, 0, a, a, y, y, "vdTest");
    });
    EXPECT_EQ(g_calls.load(), 0);
    double a[1] = {1}, y[1] = {1};
    hpk_vmk_kernel_dError(1, 0, a, a, y, y, "vdTest");
    EXPECT_EQ(g_calls.load(), 1);
  });
}

}  // namespace
