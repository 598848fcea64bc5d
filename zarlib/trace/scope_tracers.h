// Lines on entry to and exit from a scope, indented by nesting depth.
//
//     int parser::read(const char *file, int limit) {
//       chTraceStack scope(9, __PRETTY_FUNCTION__, "(%s, %d)", file, limit);
//       ...                                                          // [D:Who?+...] ... { parser::read(a.xml, 5)
//     }                                                              // [D:Who?+...] ... } parser::read
//
// The signature is the full one, as in __PRETTY_FUNCTION__ and __FUNCSIG__. The name shown starts after the last blank
// before its first "("; with a format it ends before that "(", without one it ends with the next ")".
//
//     void __cdecl ns::f(int)              ns::f              ns::f(int)
//     T ns::g(T) [with T = int]            ns::g              ns::g(T)
//     int c::operator()(int) const         c::operator        c::operator()
//     void c<unsigned int>::h()            int>::h            int>::h()
//     no parenthesis                       (empty)            (empty)
//
// The name is truncated to 259 bytes. A null or empty format counts as none.
//
// An object must be destroyed on the thread that created it, and not be copied: each copy writes a closing line.
#pragma once

#include "zarlib/export.h"
#include "zarlib/trace/level_test.h"

#include <cstdarg>

/// Writes through the tracer, at a level: "{ ", the name and, right after it, the formatted text on entry; "} " and the
/// name on exit. Lines are indented by two blanks per enclosing scope on this thread.
///
/// A scope whose opening line was written also writes its closing line, whatever the level is by then; any other writes
/// nothing and does not add to the depth. With GCC and optimisation such a scope costs the same as a suppressed trace
/// line, two loads and a comparison, plus a test of its flag on exit; elsewhere it costs two calls.
class ZAR_API chTraceStack {
public:
#if defined(__GNUC__) && !defined(__clang__) && defined(__OPTIMIZE__) && !defined(ZARLIB_BUILDING)
  [[gnu::gnu_inline, gnu::always_inline, gnu::artificial]] inline chTraceStack(int level, const char *signature,
                                                                               const char *format, ...)
      : m_active(0) {
    if (!zarTraceLevelTest::fails(level)) open(level, signature, format, __builtin_va_arg_pack());
  }
  [[gnu::gnu_inline, gnu::always_inline, gnu::artificial]] inline ~chTraceStack() {
    if (m_active) close();
  }
#else
  chTraceStack(int level, const char *signature, const char *format, ...) ZAR_PRINTF(4, 5);
  ~chTraceStack();
#endif
  chTraceStack(const chTraceStack &) = default;
  chTraceStack &operator=(const chTraceStack &) = default;

private:
  void open(int level, const char *signature, const char *format, ...) ZAR_PRINTF(4, 5);
  void open_formatted(int level, const char *signature, const char *format, va_list args);
  void close();

  int m_active; ///< nonzero if the opening line was written
  char m_name[260];
};

/// Writes straight to standard output, as consoleWriteString() does, regardless of levels.
///
/// The brace is preceded by 32 bytes with the value 2 times the depth. The console ends a line at its first NUL, so the
/// lines of the outermost scope are EMPTY there. The depth is process-wide: with several threads it is only a hint.
class ZAR_API simpStackTracer {
public:
  simpStackTracer(const char *signature, const char *format, ...) ZAR_PRINTF(3, 4);
  simpStackTracer(const simpStackTracer &) = default;
  simpStackTracer &operator=(const simpStackTracer &) = default;
  ~simpStackTracer();

  /// @return The number of open scopes.
  static int &getDepth();

private:
  char m_name[260];
};
