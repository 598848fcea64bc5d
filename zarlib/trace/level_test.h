// The level check of every trace line, inlined at the call site.
//
// With GCC and optimisation, the functions of trace.h that take a format expand at the call site to a comparison with
// the level in force and a call of the exported function: a line that will not be written costs two loads. The exported
// functions repeat the check, so other compilers lose only a nanosecond. trace.h includes this header; users need not.
#pragma once

#include "zarlib/export.h"
#include "zarlib/trace/output_option.h"

#include <atomic>

/// Internal: whether a line's level is above the level in force, as far as that is known without calling the library.
class ZAR_API zarTraceLevelTest {
public:
#if defined(__GNUC__)
  /// @return True if the line will certainly not be written. False also if only the library can tell: before the first
  ///         line of the process, and while the system option decides.
  static bool fails(int level) {
    const int own = own_level();
    return level > own && own != -1;
  }

  /// @return The level of the process; -1 if only the library can tell the level in force.
  static int own_level() { return __atomic_load_n(&s_option.load(std::memory_order_acquire)->level, __ATOMIC_RELAXED); }
#endif

private:
  friend class uCTraceHelper;
  static std::atomic<TraceOutputOption *> s_option; ///< never null
};

#if defined(__GNUC__) && !defined(__clang__) && defined(__OPTIMIZE__) && !defined(ZARLIB_BUILDING)

namespace zar {

// Aliases of the exported functions, for calls that have passed the check.
ZAR_API void written_trace(int level, const char *format, ...) __asm__("_Z8zarTraceiPKcz") ZAR_PRINTF(2, 3);
ZAR_API void written_module_trace(int level, const char *module, const char *format,
                                  ...) __asm__("_Z14zarModuleTraceiPKcS0_z") ZAR_PRINTF(3, 4);
extern "C" ZAR_API void written_trace_printf(const char *format, ...) __asm__("tracePrintf") ZAR_PRINTF(1, 2);

} // namespace zar

[[gnu::gnu_inline, gnu::always_inline, gnu::artificial]] extern inline void zarTrace(int level, const char *format,
                                                                                     ...) {
  if (!zarTraceLevelTest::fails(level)) zar::written_trace(level, format, __builtin_va_arg_pack());
}

[[gnu::gnu_inline, gnu::always_inline, gnu::artificial]] extern inline void
zarModuleTrace(int level, const char *module, const char *format, ...) {
  if (!zarTraceLevelTest::fails(level)) zar::written_module_trace(level, module, format, __builtin_va_arg_pack());
}

extern "C" {
[[gnu::gnu_inline, gnu::always_inline, gnu::artificial]] extern inline void tracePrintf(const char *format, ...) {
  if (!zarTraceLevelTest::fails(7)) zar::written_trace_printf(format, __builtin_va_arg_pack());
}
}

#endif
